// SPDX-License-Identifier: GPL-2.0
#include "cases.h"

#include "kernel/api/string.h"
#include "parity.h"

namespace parity {

#define PARITY_ROW(name) {#name, name},
const Case cases[] = {PARITY_CASES(PARITY_ROW)};
#undef PARITY_ROW

const size_t case_count = sizeof(cases) / sizeof(cases[0]);

bool is_same_text(const char *text, const char *wanted)
{
	return strcmp(text, wanted) == 0;
}

} /* namespace parity */
