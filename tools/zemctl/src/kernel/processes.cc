// SPDX-License-Identifier: GPL-2.0
/*
 * The processes of the machine. A process may end at any time, which is no failure.
 */
#include "kernel/processes.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "base/errors.h"
#include "kernel/files.h"
#include "text/words.h"

namespace zemctl {

namespace {

namespace fs = std::filesystem;

/* Kernels before 5.17 cut the names of their threads off after 15 bytes. */
constexpr std::string_view kCollector = "ts_timer_getdata_thread";
constexpr std::size_t kShortName = 15;
/* The parent of all threads of the kernel. */
constexpr std::uint32_t kKthreadd = 2;

std::optional<std::string> comm_of(const std::string &proc, std::uint32_t pid)
{
	try {
		return std::string(
			first_line(read_whole_file(fmt::format("{}/{}/comm", proc, pid))));
	} catch (const Failure &) {
		return std::nullopt;
	}
}

bool has_open(const std::string &proc, std::uint32_t pid, const std::string &file)
{
	std::error_code error;
	for (fs::directory_iterator entry(fmt::format("{}/{}/fd", proc, pid), error), end;
	     !error && entry != end; entry.increment(error)) {
		std::error_code gone;
		if (fs::read_symlink(entry->path(), gone) == file)
			return true;
	}
	return false;
}

/* A line of the list: "7f00-7f02 r--s 00000000 00:05 291    /dev/zem_shared". */
bool has_mapped(const std::string &proc, std::uint32_t pid, const std::string &file)
{
	std::string list;
	try {
		list = read_whole_file(fmt::format("{}/{}/maps", proc, pid));
	} catch (const Failure &) {
		return false;
	}
	const std::string name = " " + file;
	for (std::string_view rest = list; !rest.empty();) {
		if (take_line(rest).ends_with(name))
			return true;
	}
	return false;
}

} // namespace

std::vector<Process> list_processes(const std::string &proc)
{
	std::vector<Process> processes;
	std::error_code error;
	for (fs::directory_iterator entry(proc, error), end; !error && entry != end;
	     entry.increment(error)) {
		const auto pid = parse_number<std::uint32_t>(entry->path().filename().native());
		if (!pid)
			continue;
		if (auto comm = comm_of(proc, *pid))
			processes.push_back({*pid, std::move(*comm)});
	}
	std::ranges::sort(processes, {}, &Process::pid);
	return processes;
}

std::optional<bool> is_collector_running(const std::string &proc)
{
	const std::vector<Process> processes = list_processes(proc);
	const bool found = std::ranges::any_of(processes, [](const Process &process) {
		return process.comm == kCollector ||
		       process.comm == kCollector.substr(0, kShortName);
	});
	if (found)
		return true;
	if (std::ranges::find(processes, kKthreadd, &Process::pid) == processes.end())
		return std::nullopt;
	return false;
}

std::vector<Process> list_holders(const std::string &proc, const std::string &file)
{
	std::error_code error;
	const fs::path canonical = fs::weakly_canonical(file, error);
	const std::string whole = error ? file : canonical.string();
	std::vector<Process> holders;
	for (Process &process : list_processes(proc)) {
		if (has_open(proc, process.pid, whole) || has_mapped(proc, process.pid, whole))
			holders.push_back(std::move(process));
	}
	return holders;
}

} // namespace zemctl
