/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Parses /proc/load_metrics/load_metrics: the usage of CPUs and tasks in a window of time that
 * began with the previous sample and ends with the reading.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zemctl {

struct LoadTask {
	std::uint32_t pid;
	std::int32_t tgid; /* "ppid" in the text: the pid of the thread group's leader, or -1 */
	bool leader_flag;
	std::string comm;
	std::string pkg;
	std::uint64_t usage;
	std::uint64_t combined;
};

struct LoadReading {
	std::uint64_t end; /* ns of the kernel's monotonic clock */
	std::uint64_t window; /* ns */
	std::vector<std::uint64_t> cpus; /* usage; empty if the window has no length */
	std::vector<LoadTask> tasks; /* in the order of the text */
};

/* Throws a Failure if @text has another form. */
LoadReading parse_load_listing(std::string_view text);

} // namespace zemctl
