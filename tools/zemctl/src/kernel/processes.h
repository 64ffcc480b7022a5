/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The processes of the machine, as procfs shows them to this user.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zemctl {

struct Process {
	std::uint32_t pid;
	std::string comm;
};

/* Returns the processes whose directories below @proc are readable. */
std::vector<Process> list_processes(const std::string &proc);

/*
 * Returns whether the module's thread that collects runs, or nothing if procfs shows this user no
 * thread of the kernel. It runs from a change of trace_on from 0 to 1 until trace_on is 0.
 */
std::optional<bool> is_collector_running(const std::string &proc);

/*
 * Returns the processes that have @file open or mapped: a reader may close what it has mapped. Only
 * root sees the files of the processes of other users.
 */
std::vector<Process> list_holders(const std::string &proc, const std::string &file);

} // namespace zemctl
