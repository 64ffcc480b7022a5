// SPDX-License-Identifier: GPL-2.0
#include "kernel/api/completion.h"

#include "kernel/opaque.h"
#include "cases.h"
#include "parity.h"

namespace parity {

namespace {

/* Not on the stack: the kernel's checkers ask for another initialisation there. */
constinit completion done{};

} /* namespace */

void completion_counts_signals()
{
	helper_init_completion(&done);
	complete(&done);
	complete(&done);
	EXPECT_SAME(wait_for_completion_timeout(&done, 100), 100);
	EXPECT_SAME(wait_for_completion_timeout(&done, 7), 7);
	EXPECT_SAME(wait_for_completion_timeout(&done, 1), 0);
}

void completion_times_out()
{
	helper_init_completion(&done);
	EXPECT_SAME(wait_for_completion_timeout(&done, 2), 0);
	complete(&done);
	helper_reinit_completion(&done);
	EXPECT_SAME(wait_for_completion_timeout(&done, 1), 0);
}

} /* namespace parity */
