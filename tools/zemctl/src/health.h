/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What groups of tasks waited: as a record has it, and as the text files below /proc.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

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

/*
 * The text of /proc/cgroup_metrics/cgroup_metrics, and that of the sums at the end of
 * /proc/morva_sched_healthinfo/sched_healthinfo. They throw a Failure that says what is wrong.
 */
zem_cgroup parse_health_interval(std::string_view text);
zem_cgroup parse_health_sums(std::string_view text);

} // namespace zemctl
