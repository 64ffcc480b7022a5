// SPDX-License-Identifier: GPL-2.0
/*
 * The counting handlers. They run at every context switch and interrupt, most of them under the
 * run-queue lock. They take no lock, allocate nothing, and write only the counters of this CPU and
 * the task.
 */
#include "sched/sched_metrics.h"

#include "kernel/atomic.h"
#include "kernel/percpu.h"
#include "kernel/switch_file.h"
#include "kernel/tracepoint.h"
#include "platform/task_record.h"
#include "sched/histogram.h"

namespace zem {

ZEM_PERCPU constinit PerCpu<SchedMetricsData> sched_metrics_data;

namespace {

constinit StaticKey<true> sched_metrics_enable;

/* Return: the counters of a task that is important by its own standing; null if it has none. */
zem_svp_stats *stats_of(task_struct *task, const task_ext *record)
{
	zem_svp_stats *stats = record ? smp_load_acquire(record->svp_stats) : nullptr;
	return stats && is_odd(test_task_orig_svp(task)) ? stats : nullptr;
}

[[gnu::always_inline]] inline void count_task(u32 (&buckets)[4], u64 &total,
					      const Bounds<3> &bounds, u64 ns)
{
	atomic_add(ns, total);
	atomic_add(1, buckets[bucket_of(bounds, ns)]);
}

/* A wait before the task was moved to another CPU counts when the task arrives there. */
void android_rvh_sched_info_dequeued_handler(void *, task_struct *task, u64 delay)
{
	if (task_ext *record = record_of(task))
		add_once(delay, record->pending_run_delay);
}

void android_rvh_sched_info_arrive_handler(void *, task_struct *task, u64, u64 delay)
{
	if (!sched_metrics_enable.is_on())
		return;
	task_ext *record = record_of(task);
	if (!record)
		return;
	const u64 pending = read_once(record->pending_run_delay);
	if (pending) {
		delay += pending;
		write_once(record->pending_run_delay, 0);
	}
	if (!delay || !is_odd(test_task_svp(task)))
		return;

	SchedMetricsData &mine = sched_metrics_data.mine();
	svp_rundelay_histogram_data_store(mine.hist, delay);
	add_once(delay, mine.svp_rundelay_sum);
	if (zem_svp_stats *stats = stats_of(task, record))
		count_task(stats->run_delay, stats->run_delay_total, kTaskRundelayBounds, delay);
}

void android_vh_sched_info_depart_handler(void *, task_struct *task, u64 runtime)
{
	if (!sched_metrics_enable.is_on() || !is_odd(test_task_svp(task)))
		return;
	SchedMetricsData &mine = sched_metrics_data.mine();
	svp_runtime_histogram_data_store(mine.hist, runtime);
	add_once(runtime, mine.svp_runtime_sum);
	if (zem_svp_stats *stats = stats_of(task, record_of(task)))
		count_task(stats->runtime, stats->runtime_total, kTaskRuntimeBounds, runtime);
}

void android_vh_task_d_state_dura_record_handler(void *, task_struct *task, u64 duration)
{
	if (!sched_metrics_enable.is_on() || !is_odd(test_task_svp(task)))
		return;
	SchedMetricsData &mine = sched_metrics_data.mine();
	svp_d_state_duration_histogram_data_store(mine.hist, duration);
	add_once(duration, mine.svp_d_state_sum);
	if (zem_svp_stats *stats = stats_of(task, record_of(task)))
		count_task(stats->d_state_duration, stats->d_state_duration_total,
			   kTaskDStateBounds, duration);
}

/* Counts every hard interrupt. */
void android_rvh_irqtime_account_hardirq_handler(void *, u64 delta)
{
	if (sched_metrics_enable.is_on())
		irqtime_histogram_data_store(sched_metrics_data.mine().hist, delta);
}

} /* namespace */

constinit const proc_file sched_metrics_switch = switch_over(sched_metrics_enable);

u64 sched_metrics_count(unsigned int cpu, Metric metric, size_t bucket)
{
	return read_once(sched_metrics_data.of(cpu).hist[bucket][static_cast<size_t>(metric)]);
}

u64 sched_metrics_time(unsigned int cpu, Metric metric)
{
	const SchedMetricsData &data = sched_metrics_data.of(cpu);
	switch (metric) {
	case Metric::kIrqtime:
		return read_once(*static_cast<u64 *>(helper_per_cpu_ptr(&cpu_irqtime, cpu)));
	case Metric::kSvpRuntime:
		return read_once(data.svp_runtime_sum);
	case Metric::kSvpRundelay:
		return read_once(data.svp_rundelay_sum);
	case Metric::kSvpDState:
		return read_once(data.svp_d_state_sum);
	}
	return 0;
}

void sched_metrics_attach()
{
	tracepoint_probe_register(&__tracepoint_android_vh_sched_info_depart,
				  probe(android_vh_sched_info_depart_handler), nullptr);
	tracepoint_probe_register(&__tracepoint_android_vh_task_d_state_dura_record,
				  probe(android_vh_task_d_state_dura_record_handler), nullptr);
}

void sched_metrics_attach_restricted()
{
	android_rvh_probe_register(&__tracepoint_android_rvh_sched_info_dequeued,
				   probe(android_rvh_sched_info_dequeued_handler), nullptr);
	android_rvh_probe_register(&__tracepoint_android_rvh_sched_info_arrive,
				   probe(android_rvh_sched_info_arrive_handler), nullptr);
	android_rvh_probe_register(&__tracepoint_android_rvh_irqtime_account_hardirq,
				   probe(android_rvh_irqtime_account_hardirq_handler), nullptr);
}

} /* namespace zem */
