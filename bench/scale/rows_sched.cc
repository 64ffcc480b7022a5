// SPDX-License-Identifier: GPL-2.0
/* The probes of the scheduler's events: waits, the delay histogram, and the load feed. */
#include "floor.h"
#include "host/host.h"
#include "load/clusters.h"
#include "load/health/cgroup_ids.h"
#include "load/health/sched_healthinfo.h"
#include "load/load_metrics.h"
#include "rows.h"
#include "sched/sched_metrics.h"

namespace scale {

namespace {

constexpr u64 kDelay = 1'200'000; /* ns, in the third bucket of the histogram */
constexpr size_t kDelayBucket = 2;
constexpr u64 kCycles = 3;
constexpr u64 kClusterScale = 5;
constexpr u32 kCluster = 0;
constexpr int kBackgroundId = 3;
constexpr int kForegroundId = 2;
constexpr size_t kAccumulator = 1; /* of a load block */

template <typename Handler>
Handler *probe_of(const tracepoint &hook)
{
	return reinterpret_cast<Handler *>(hook.probe);
}

void call_wait(Worker &worker, unsigned int times)
{
	using Handler = void(void *, task_struct *, u64);
	const auto call = probe_of<Handler>(__tracepoint_sched_stat_wait);
	while (times--)
		call(nullptr, &worker.task, kDelay);
}

void call_floor_wait(Worker &worker, unsigned int times)
{
	const auto call = opaque(floor_stat_wait);
	while (times--)
		call(&worker.task, kDelay);
}

void call_arrive(Worker &worker, unsigned int times)
{
	using Handler = void(void *, task_struct *, u64, u64);
	const auto call = probe_of<Handler>(__tracepoint_android_rvh_sched_info_arrive);
	while (times--)
		call(nullptr, &worker.task, 0, kDelay);
}

void call_feed(Worker &worker, unsigned int times)
{
	const auto call = host::load_feed();
	while (times--)
		call(&worker.task, kCluster, kCycles);
}

void as_important(Worker &worker)
{
	worker.task.css_id = kBackgroundId;
	worker.task.svp = 1;
}

std::vector<Count> waits(Workers)
{
	constexpr auto kLatency = static_cast<size_t>(zem::Delay::kLatency);
	const auto row = [](const zem::HealthSums &sums, zem::HealthRow row) {
		return sums[static_cast<size_t>(row)][kLatency];
	};
	zem::HealthSums sums{};
	zem::get_sched_healthinfo(&sums);
	return {
		{.what = "total",
		 .value = row(sums, zem::HealthRow::kTotal),
		 .for_each_call = kDelay},
		{.what = "background",
		 .value = row(sums, zem::HealthRow::kBackground),
		 .for_each_call = kDelay},
		{.what = "important",
		 .value = row(sums, zem::HealthRow::kSvp),
		 .for_each_call = kDelay},
	};
}

std::vector<Count> floor_wait_counts(Workers)
{
	std::vector<Count> counts;
	for (const u64 sum : floor_waits)
		counts.push_back({.what = "sum", .value = sum, .for_each_call = kDelay});
	return counts;
}

std::vector<Count> delays(Workers workers)
{
	std::vector<Count> counts;
	for (const auto &worker : workers) {
		const std::string suffix = " of CPU " + std::to_string(worker->index);
		const int index = static_cast<int>(worker->index);
		counts.push_back({
			.what = "delays" + suffix,
			.value = zem::sched_metrics_count(worker->index, zem::Metric::kSvpRundelay,
							  kDelayBucket),
			.worker = index,
		});
		counts.push_back({
			.what = "time of delays" + suffix,
			.value = zem::sched_metrics_time(worker->index, zem::Metric::kSvpRundelay),
			.for_each_call = kDelay,
			.worker = index,
		});
		counts.push_back({
			.what = "task's delays" + suffix,
			.value = worker->stats.run_delay_total,
			.for_each_call = kDelay,
			.worker = index,
		});
	}
	return counts;
}

std::vector<Count> runtimes(Workers workers)
{
	std::vector<Count> counts;
	for (const auto &worker : workers)
		counts.push_back({
			.what = "capacity of process " + std::to_string(worker->task.pid),
			.value = worker->load_block[kAccumulator],
			.for_each_call = kClusterScale * kCycles,
			.worker = static_cast<int>(worker->index),
		});
	return counts;
}

/* The leader of the process whose threads run on all CPUs. */
struct Process {
	task_struct task{};
	task_ext record{};
	alignas(128) u64 load_block[PLATFORM_LOAD_WORDS]{};
};

Process process;

void of_one_process(Worker &worker)
{
	worker.task.group_leader = &process.task;
}

std::vector<Count> process_runtime(Workers)
{
	return {{.what = "capacity of the process",
		 .value = process.load_block[kAccumulator],
		 .for_each_call = kClusterScale * kCycles}};
}

const Pair rows[] = {
	{
		.zem = {.name = "health/stat_wait",
			.call = call_wait,
			.prepare = as_important,
			.counts = waits},
		.floor = {.name = "health/stat_wait",
			  .call = call_floor_wait,
			  .prepare = as_important,
			  .counts = floor_wait_counts},
	},
	{
		.zem = {.name = "sched/info_arrive",
			.call = call_arrive,
			.prepare = as_important,
			.counts = delays},
		.floor = {},
	},
	{
		.zem = {.name = "load/process_each", .call = call_feed, .counts = runtimes},
		.floor = {},
	},
	{
		.zem = {.name = "load/one_process",
			.call = call_feed,
			.prepare = of_one_process,
			.counts = process_runtime},
		.floor = {},
	},
};

} /* namespace */

void load_sched()
{
	zem::cgroup_idx[static_cast<size_t>(zem::Group::kForeground)].store(kForegroundId);
	zem::cgroup_idx[static_cast<size_t>(zem::Group::kBackground)].store(kBackgroundId);
	zem::sched_metrics_attach();
	zem::sched_metrics_attach_restricted();
	zem::load_metrics_attach();
	zem::sched_healthinfo_init();
	zem::cpu_cluster_unit[kCluster].scale = kClusterScale;
	process.task.pid = 1;
	process.task.record = &process.record;
	process.record.load_block = process.load_block;
}

std::span<const Pair> sched_rows()
{
	return rows;
}

} /* namespace scale */
