// SPDX-License-Identifier: GPL-2.0
/*
 * The processes of the screen.
 */
#include "top/processes.h"

#include <algorithm>
#include <utility>

#include "decode/health.h"
#include "text/text.h"
#include "text/words.h"

namespace zemctl {

namespace {

/* A difference that has wrapped has no meaning. */
void add_difference(std::optional<std::uint64_t> &sum, std::uint64_t difference)
{
	sum = sum.value_or(0) + (has_wrapped(difference) ? 0 : difference);
}

std::optional<std::uint64_t> TopProcess::*value_of(TopSort sort)
{
	switch (sort) {
	case TopSort::kUsage:
		return &TopProcess::usage;
	case TopSort::kRuntime:
		return &TopProcess::runtime;
	case TopSort::kRunDelay:
		return &TopProcess::run_delay;
	case TopSort::kDState:
		return &TopProcess::d_state;
	default:
		return &TopProcess::iowait;
	}
}

bool is_before(const TopProcess &left, const TopProcess &right, TopSort sort)
{
	if (sort == TopSort::kPid)
		return left.pid < right.pid;
	if (sort == TopSort::kName)
		return left.comm < right.comm;
	const auto value = value_of(sort);
	if (left.*value != right.*value)
		return left.*value > right.*value;
	return left.runtime > right.runtime;
}

bool has_part(std::string_view text, std::string_view part)
{
	return in_lower_case(text).find(part) != std::string::npos;
}

} // namespace

/* Returns null if the table has no room. */
TopProcess *TopProcesses::find(Table &table, std::int64_t tgid, std::int64_t pid,
			       std::string_view comm, std::string_view package)
{
	const std::int64_t key = tgid > 0 ? tgid : pid;
	const bool is_new = !table.contains(key);
	if (is_new && table.size() >= kProcessesMax)
		return nullptr;
	TopProcess &process = table[key];
	process.pid = key;
	if (is_new || pid == key)
		process.comm = comm;
	if (process.package.empty())
		process.package = package;
	return &process;
}

void TopProcesses::add(const zem_load &load, std::uint64_t time)
{
	TopProcess *process = find(load_.at(time), load.ppid, load.pid, field_text(load.comm),
				   field_text(load.pkg));
	if (process == nullptr)
		return;
	add_difference(process->usage, load.usage);
	add_difference(process->runtime, load.runtime);
}

void TopProcesses::add(const zem_svp &svp, std::uint64_t time)
{
	TopProcess *process = find(svp_.at(time), svp.tgid, svp.pid, field_text(svp.thread_name),
				   field_text(svp.package_name));
	if (process == nullptr)
		return;
	add_difference(process->run_delay, svp.stats.run_delay_total);
	add_difference(process->d_state, svp.stats.d_state_duration_total);
	add_difference(process->iowait, svp.stats.iowait_total);
}

std::vector<TopProcess> TopProcesses::shown(std::uint64_t now, StreamState state) const
{
	Table processes;
	if (const auto *pass = load_.shown(now, state))
		processes = pass->content;
	if (const auto *pass = svp_.shown(now, state)) {
		for (const auto &[pid, process] : pass->content) {
			TopProcess &merged = processes.try_emplace(pid, process).first->second;
			merged.run_delay = process.run_delay;
			merged.d_state = process.d_state;
			merged.iowait = process.iowait;
			if (merged.package.empty())
				merged.package = process.package;
		}
	}
	std::vector<TopProcess> all;
	all.reserve(processes.size());
	for (auto &[pid, process] : processes)
		all.push_back(std::move(process));
	return all;
}

std::optional<PassTimes> TopProcesses::times(std::uint64_t now, StreamState state) const
{
	const auto *pass = load_.shown(now, state);
	return pass == nullptr ? std::nullopt : std::optional(pass->times);
}

void select_and_sort(std::vector<TopProcess> &processes, const TopOrder &order)
{
	const std::string part = in_lower_case(order.filter);
	std::erase_if(processes, [&](const TopProcess &process) {
		return !has_part(process.comm, part) && !has_part(process.package, part) &&
		       std::to_string(process.pid).find(part) == std::string::npos;
	});
	std::ranges::stable_sort(processes, [&](const TopProcess &left, const TopProcess &right) {
		return order.reverse ? is_before(right, left, order.by) :
				       is_before(left, right, order.by);
	});
}

} // namespace zemctl
