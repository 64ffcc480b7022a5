/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The text of /proc/load_metrics/load_metrics: what CPUs and tasks used in a window of time that
 * ends with the reading and began with the sample before it.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zemctl {

struct LoadTask {
	std::uint32_t pid;
	std::int32_t tgid; /* "ppid" in the text, which is the pid of the group's leader; or -1 */
	bool leader_flag;
	std::string comm;
	std::string pkg;
	std::uint64_t usage;
	std::uint64_t combined;
};

struct LoadReading {
	std::uint64_t end; /* ns of the kernel's monotonic clock */
	std::uint64_t window; /* ns */
	std::vector<std::uint64_t> cpus; /* usage; none where the window is empty */
	std::vector<LoadTask> tasks; /* in the order of the text */
};

/* Throws a Failure that says what is wrong with @text. */
LoadReading parse_load_listing(std::string_view text);

} // namespace zemctl
