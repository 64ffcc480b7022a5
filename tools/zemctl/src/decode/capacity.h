/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Capacity units, in which the load of CPUs and tasks is told.
 */
#pragma once

#include <cstdint>

#include <linux/zem.h>

namespace zemctl {

/* @usage of the big cluster's full speed, rounded down; usage * 100 need not fit 64 bits. */
constexpr std::uint64_t percent_of_capacity(std::uint64_t usage)
{
	return usage / ZEM_CAPACITY_FULL * 100 +
	       usage % ZEM_CAPACITY_FULL * 100 / ZEM_CAPACITY_FULL;
}

} // namespace zemctl
