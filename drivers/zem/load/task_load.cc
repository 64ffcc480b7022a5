// SPDX-License-Identifier: GPL-2.0
/*
 * Samples tasks. A sample converts the increase of a task's record since the previous sample to a
 * load record. The walk over all tasks is one RCU read section.
 */
#include "load/task_load.h"

#include "kernel/atomic.h"
#include "kernel/divide.h"
#include "kernel/rcu.h"
#include "kernel/task.h"
#include "kernel/tasks.h"
#include "load/clusters.h"
#include "load/load_metrics.h"
#include "load/load_samples.h"
#include "platform/task_record.h"

namespace zem {

namespace {

/* A load block, which is also the end of a load record. */
struct [[gnu::may_alias]] LoadBlock {
	u64 runtime;
	u64 accumulator; /* the average in the record */
	u64 combined;
	u64 sum_exec_runtime;
	u64 counter_a[kClusters];
	u64 reserved_a[2];
	u64 counter_b[kClusters];
	u64 reserved_b[2];
	u64 counter_c[kClusters];
	u64 reserved_c[2];
};

static_assert(sizeof(LoadBlock) == PLATFORM_LOAD_WORDS * sizeof(u64));
static_assert(sizeof(zem_load) - __builtin_offsetof(zem_load, runtime) == sizeof(LoadBlock));
static_assert(__builtin_offsetof(LoadBlock, accumulator) == 8);

constexpr u32 kMarkedGroup = 1u << 4;
constexpr u64 kPartUnit = 1000;

/* Return: 0 if @divisor is 0. */
u64 quotient(u64 dividend, u64 divisor)
{
	return divisor ? dividend / divisor : 0;
}

u64 value_of(const u64 &platforms_counter)
{
	return read_once(platforms_counter);
}

/* Return: the load on one cluster since the last sample, in 1/1000 capacity unit. */
u64 sample_cluster(LoadBlock &block, task_ext &record, u32 cluster)
{
	const u64 numerator = value_of(record.counter_a[cluster]);
	const u64 denominator = value_of(record.counter_d[cluster]);
	const u64 gained = numerator - block.counter_a[cluster];
	const u64 elapsed = denominator - record.previous_denominators[cluster];

	record.previous_denominators[cluster] = denominator;
	block.counter_a[cluster] = numerator;
	block.counter_b[cluster] = value_of(record.counter_b[cluster]);
	block.counter_c[cluster] = value_of(record.counter_c[cluster]);
	/* At this scale the cycles of a few minutes exceed 64 bits. */
	return multiply_divide(gained, cluster_scale(cluster) * kPartUnit, elapsed);
}

/* Clears the accumulator. Return: the average usage of the whole process over @window ns. */
u64 sample(LoadBlock &block, task_ext &record, task_struct *task, u64 window)
{
	const u64 used = xchg_relaxed(block.accumulator, 0);
	const u64 sum_exec_runtime = task_sum_exec_runtime(task);

	block.runtime = sum_exec_runtime - block.sum_exec_runtime;
	block.sum_exec_runtime = sum_exec_runtime;
	u64 parts = 0;
	for (u32 cluster = 0; cluster < kClusters; cluster++)
		parts += sample_cluster(block, record, cluster);
	block.combined = parts / kPartUnit;
	return quotient(used, window);
}

bool is_marked(task_struct *leader)
{
	if (task_has_exited(leader))
		return false;
	const task_ext *record = record_of(task_group_leader(leader));
	return record && read_once(record->flags) & kMarkedGroup;
}

/* For a task that has exited, or that has no group, the fields of the group are not changed. */
void fill_group(zem_load &unit, task_struct *task, task_struct *leader)
{
	if (!leader || task_has_exited(task))
		return;
	unit.leader_flag = is_marked(leader);
	copy_package_name(record_of(leader), unit.pkg);
}

/* Copies all words except the accumulator, which other CPUs add to: the average replaces it. */
void copy_words(zem_load &unit, const LoadBlock &block, u64 average)
{
	constexpr size_t kStart = __builtin_offsetof(LoadBlock, combined);
	constexpr size_t kTo = __builtin_offsetof(zem_load, combined);

	unit.runtime = block.runtime;
	unit.usage = average;
	__builtin_memcpy(reinterpret_cast<char *>(&unit) + kTo,
			 reinterpret_cast<const char *>(&block) + kStart, sizeof(block) - kStart);
}

void fill(zem_load &unit, task_struct *task, const LoadBlock &block, u64 average)
{
	task_struct *leader = task_group_leader(task);

	unit.pid = static_cast<u32>(task_pid_nr(task));
	helper_task_comm(task, unit.comm);
	unit.ppid = leader ? task_pid_nr(leader) : -1;
	fill_group(unit, task, leader);
	copy_words(unit, block, average);
}

using Emit = FunctionRef<void(const zem_load &unit)>;

void sample_threads(task_struct *process, u64 window, Emit emit)
{
	for (task_struct *thread : Threads(process))
		get_task_load_metrics(thread, window, emit);
}

} /* namespace */

void get_task_load_metrics(task_struct *task, u64 window, Emit emit)
{
	task_ext *record = record_of(task);
	if (!record)
		return;
	auto *block = reinterpret_cast<LoadBlock *>(smp_load_acquire(record->load_block));
	if (!block)
		return;

	load_samples.with([&](LoadSamples &samples) {
		zem_load &unit = samples.load_metrics_unit;
		const u64 average = sample(*block, *record, task, window);
		if (average || block->combined) {
			fill(unit, task, *block, average);
			if (emit)
				emit(unit);
		}
		block->runtime = 0;
		block->combined = 0;
	});
}

void load_metrics_info_upload(Setter set)
{
	const u64 window =
		load_samples.with([](LoadSamples &samples) { return samples.window.time_delta; });
	if (!window)
		return;
	const auto report = [set](const zem_load &unit) {
		if (load_metrics_report.is_on())
			upload(set, unit);
	};
	auto *const sample_one = thread_metrics_enable.is_on() ? sample_threads :
								 get_task_load_metrics;

	RcuReadGuard guard;
	for (task_struct *process : Processes())
		sample_one(process, window, report);
}

} /* namespace zem */
