/* SPDX-License-Identifier: GPL-2.0 */
/* Lengths of time, each with its unit. Conversions round down. Context: any. */
#pragma once

#include "api/time.h"

namespace zem {

struct Nanoseconds {
	u64 count;
};

struct Milliseconds {
	u64 count;
};

struct Jiffies {
	unsigned long count;
};

[[nodiscard]] constexpr Milliseconds milliseconds(Nanoseconds time)
{
	return {time.count / 1'000'000};
}

/* Wraps at 2^32 ms, like the kernel's function. */
[[nodiscard]] inline Milliseconds milliseconds(Jiffies time)
{
	return {helper_jiffies_to_msecs(time.count)};
}

} /* namespace zem */
