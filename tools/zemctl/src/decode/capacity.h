/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Capacity units, the unit of the load of CPUs and tasks.
 */
#pragma once

#include <cstdint>

#include <linux/zem.h>

namespace zemctl {

/*
 * Returns @usage as a percentage of the big cluster's full capacity, rounded down. @usage * 100 may
 * exceed 64 bits.
 */
constexpr std::uint64_t percent_of_capacity(std::uint64_t usage)
{
	return usage / ZEM_CAPACITY_FULL * 100 +
	       usage % ZEM_CAPACITY_FULL * 100 / ZEM_CAPACITY_FULL;
}

} // namespace zemctl
