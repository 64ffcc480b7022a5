// SPDX-License-Identifier: GPL-2.0
/* libFuzzer's entry into the target that the build names in ZEMCTL_FUZZ_TARGET. */
#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	zemctl::fuzz::ZEMCTL_FUZZ_TARGET({data, size});
	return 0;
}
