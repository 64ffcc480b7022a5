/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What groups of tasks waited: as a record has it, and as the text files below /proc.
 */
#pragma once

#include <cstdint>
#include <string>

#include <linux/zem.h>

namespace zemctl {

/*
 * Did the sums start anew in the interval? Then the difference went below zero, and says nothing.
 */
constexpr bool has_wrapped(std::uint64_t difference)
{
	return difference >> 63 != 0;
}

/* "12.345", or "-" for a difference that has wrapped. */
std::string health_milliseconds(std::uint64_t nanoseconds);

/* A heading, and a line for each group. */
std::string health_table(const zem_cgroup &groups);

} // namespace zemctl
