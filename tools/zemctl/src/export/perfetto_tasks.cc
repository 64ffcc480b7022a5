// SPDX-License-Identifier: GPL-2.0
/*
 * CPUs and tasks as counters of a Perfetto trace.
 */
#include "export/perfetto_families.h"

#include <string_view>

#include <fmt/format.h>

#include "text/json_writer.h"
#include "text/text.h"

namespace zemctl {

namespace {

double percent_of_full(std::uint64_t usage)
{
	constexpr double kPercent = 100;
	return static_cast<double>(usage) * kPercent / ZEM_CAPACITY_FULL;
}

/* A difference above 2^53 - 1 was below zero. */
std::int64_t count_of(std::uint64_t value)
{
	return value > kJsonLargest ? 0 : static_cast<std::int64_t>(value);
}

/* A kind of wait whose last bucket is of long ones. */
struct LongWait {
	std::string_view track;
	std::string_view slice;
	std::uint32_t (*number)(const zem_svp_stats &stats);
};

constexpr std::array kLongWaits = {
	LongWait{"long waits for a CPU", "waits of 20 ms or more for a CPU",
		 [](const zem_svp_stats &stats) {
			 return stats.run_delay[3];
		 }},
	LongWait{"long D state", "D state for 30 ms or more",
		 [](const zem_svp_stats &stats) {
			 return stats.d_state_duration[3];
		 }},
	LongWait{"long IO waits", "IO waits of 100 ms or more",
		 [](const zem_svp_stats &stats) {
			 return stats.iowait_duration[ZEM_LATENCY_BUCKETS - 1];
		 }},
};

} // namespace

void PerfettoCpus::describe(const Mark &mark)
{
	for (const CpuDescription &cpu : cpus_of(mark))
		clusters_[cpu.cpu] = cpu.cluster;
}

void PerfettoCpus::record(std::uint64_t time, const zem_cpu &cpu)
{
	const TrackId load = trace_.group(kNoParent, "CPU load");
	trace_.count(trace_.counters(load, fmt::format("cpu{}", cpu.cpu), TrackUnit::kPercent),
		     time, percent_of_full(cpu.usage));
	if (usage_.contains(cpu.cpu))
		finish();
	usage_[cpu.cpu] = cpu.usage;
	time_ = time;
}

/* Writes the sums of the interval, at the time of its last record. */
void PerfettoCpus::finish()
{
	std::map<std::uint32_t, double> sums;
	for (const auto &[cpu, usage] : usage_) {
		if (const auto cluster = clusters_.find(cpu); cluster != clusters_.end())
			sums[cluster->second] += percent_of_full(usage);
	}
	for (const auto &[cluster, sum] : sums) {
		const TrackId load = trace_.group(kNoParent, "CPU load");
		trace_.count(trace_.counters(load, fmt::format("cluster {}", cluster),
					     TrackUnit::kPercent),
			     time_, sum);
	}
	usage_.clear();
}

/* A record of a thread that is not the leader has the usage 0. */
void PerfettoTasks::record(std::uint64_t time, const zem_load &task)
{
	const std::string_view comm = field_text(task.comm);
	const std::string_view package = field_text(task.pkg);
	const auto pid = static_cast<std::int32_t>(task.pid);
	const bool is_leader = task.ppid == pid || task.ppid < 0;
	const std::int32_t tgid = task.ppid < 0 ? pid : task.ppid;
	TrackId parent = trace_.process(tgid, is_leader && package.empty() ? comm : package);
	if (!is_leader)
		parent = trace_.thread(tgid, pid, comm);
	loads_.at(time);
	loads_.count(trace_.counters(parent, "CPU usage", TrackUnit::kPercent), time,
		     percent_of_full(task.usage));
	loads_.count(trace_.counters(parent, "CPU time", TrackUnit::kNanoseconds), time,
		     count_of(task.runtime));
}

void PerfettoTasks::record(std::uint64_t time, const zem_svp &task)
{
	const zem_svp_stats &stats = task.stats;
	const TrackId thread = trace_.thread(task.tgid, task.pid, field_text(task.thread_name));
	const auto count = [&](std::string_view name, std::uint64_t value) {
		important_.count(trace_.counters(thread, name, TrackUnit::kNanoseconds), time,
				 count_of(value));
	};
	important_.at(time);
	count("SVP: on a CPU", stats.runtime_total);
	count("SVP: waiting for a CPU", stats.run_delay_total);
	count("SVP: D state", stats.d_state_duration_total);
	count("SVP: IO wait", stats.iowait_total);
	long_waits(time, task, thread);
	last_svp_[task.pid] = time;
}

/*
 * A slice is the interval in which the waits were: it starts at the task's previous record. Without
 * one it is an instant.
 */
void PerfettoTasks::long_waits(std::uint64_t time, const zem_svp &task, TrackId thread)
{
	const auto last = last_svp_.find(task.pid);
	const bool has_begin = last != last_svp_.end() && last->second <= time;
	for (const LongWait &wait : kLongWaits) {
		const std::uint32_t number = wait.number(task.stats);
		if (number == 0)
			continue;
		const TrackId track = trace_.group(thread, wait.track);
		const Annotation annotation = {"number", std::uint64_t{number}};
		if (has_begin) {
			trace_.begin(track, last->second, wait.slice, {&annotation, 1});
			trace_.end(track, time);
		} else {
			trace_.instant(track, time, wait.slice, {&annotation, 1});
		}
	}
}

void PerfettoTasks::finish()
{
	loads_.close();
	important_.close();
}

} // namespace zemctl
