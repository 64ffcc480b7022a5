// SPDX-License-Identifier: GPL-2.0
/*
 * What the handlers do, written the way the kernel writes it: static branch, this_cpu pointer,
 * chain of comparisons, atomics on the task's block.
 */
#include <linux/atomic.h>
#include <linux/err.h>
#include <linux/jump_label.h>
#include <linux/llist.h>
#include <linux/percpu.h>
#include <linux/printk.h>
#include <linux/sched.h>
#include <linux/time64.h>

#include <linux/zem.h>

#include "../../drivers/zem/platform/contract.h"
#include "sched_floor.h"

#define US 1000ULL
#define MS 1000000ULL

struct histograms {
	u64 hist[10][4];
	u64 svp_runtime_sum;
	u64 svp_rundelay_sum;
	u64 svp_d_state_sum;
};

static DEFINE_PER_CPU(struct histograms, histograms);
static DEFINE_STATIC_KEY_TRUE(enable);

void floor_enable(bool on)
{
	if (on)
		static_branch_enable(&enable);
	else
		static_branch_disable(&enable);
}

static struct task_ext *record_of(struct task_struct *task)
{
	struct task_ext *record;

	if (!task || !task->pid)
		return NULL;
	record = platform_task_ext(task);
	return IS_ERR_OR_NULL(record) ? NULL : record;
}

static struct zem_svp_stats *stats_of(struct task_struct *task, struct task_ext *record)
{
	struct zem_svp_stats *stats = record ? smp_load_acquire(&record->svp_stats) : NULL;

	return stats && (test_task_orig_svp(task) & 1) ? stats : NULL;
}

static void count_task(u32 *buckets, u64 *total, int bucket, u64 ns)
{
	atomic64_add(ns, (atomic64_t *)total);
	atomic_inc((atomic_t *)&buckets[bucket]);
}

/* The task has enrolled before, as it mostly has; this list is none that anybody empties. */
void floor_enrol(void *data, struct task_struct *task, u64 runtime)
{
	struct task_ext *record;

	if (!static_branch_likely(&enable) || !task || !(test_task_orig_svp(task) & 1))
		return;
	record = record_of(task);
	if (!record || READ_ONCE(record->node.next) != TASK_EXT_UNLISTED)
		return;
	pr_warn_once("zem_bench: the SVP task has not enrolled, its figures are wrong\n");
}

void floor_dequeued(void *data, struct task_struct *task, u64 delay)
{
	struct task_ext *record = record_of(task);

	if (record)
		record->pending_run_delay += delay;
}

void floor_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay)
{
	struct task_ext *record;
	struct zem_svp_stats *stats;
	struct histograms *mine;
	u64 pending;

	if (!static_branch_likely(&enable))
		return;
	record = record_of(task);
	if (!record)
		return;
	pending = record->pending_run_delay;
	if (pending) {
		delay += pending;
		record->pending_run_delay = 0;
	}
	if (!delay || !(test_task_svp(task) & 1))
		return;
	mine = this_cpu_ptr(&histograms);
	if (delay < 500 * US)
		mine->hist[0][2]++;
	else if (delay < 1 * MS)
		mine->hist[1][2]++;
	else if (delay < 2 * MS)
		mine->hist[2][2]++;
	else if (delay < 3 * MS)
		mine->hist[3][2]++;
	else if (delay < 5 * MS)
		mine->hist[4][2]++;
	else if (delay < 7 * MS)
		mine->hist[5][2]++;
	else if (delay < 10 * MS)
		mine->hist[6][2]++;
	else if (delay < 15 * MS)
		mine->hist[7][2]++;
	else if (delay < 20 * MS)
		mine->hist[8][2]++;
	else
		mine->hist[9][2]++;
	mine->svp_rundelay_sum += delay;
	stats = stats_of(task, record);
	if (stats)
		count_task(stats->run_delay, &stats->run_delay_total,
			   delay < 2 * MS  ? 0 :
			   delay < 10 * MS ? 1 :
			   delay < 20 * MS ? 2 :
					     3,
			   delay);
}

void floor_depart(void *data, struct task_struct *task, u64 runtime)
{
	struct zem_svp_stats *stats;
	struct histograms *mine;

	if (!static_branch_likely(&enable) || !(test_task_svp(task) & 1))
		return;
	mine = this_cpu_ptr(&histograms);
	if (runtime < 2 * MS)
		mine->hist[0][1]++;
	else if (runtime < 5 * MS)
		mine->hist[1][1]++;
	else if (runtime < 8 * MS)
		mine->hist[2][1]++;
	else if (runtime < 11 * MS)
		mine->hist[3][1]++;
	else if (runtime < 15 * MS)
		mine->hist[4][1]++;
	else if (runtime < 18 * MS)
		mine->hist[5][1]++;
	else if (runtime < 22 * MS)
		mine->hist[6][1]++;
	else if (runtime < 27 * MS)
		mine->hist[7][1]++;
	else if (runtime < 32 * MS)
		mine->hist[8][1]++;
	else
		mine->hist[9][1]++;
	mine->svp_runtime_sum += runtime;
	stats = stats_of(task, record_of(task));
	if (stats)
		count_task(stats->runtime, &stats->runtime_total,
			   runtime < 5 * MS  ? 0 :
			   runtime < 15 * MS ? 1 :
			   runtime < 30 * MS ? 2 :
					       3,
			   runtime);
}

void floor_d_state(void *data, struct task_struct *task, u64 duration)
{
	struct zem_svp_stats *stats;
	struct histograms *mine;

	if (!static_branch_likely(&enable) || !(test_task_svp(task) & 1))
		return;
	mine = this_cpu_ptr(&histograms);
	if (duration < 2 * MS)
		mine->hist[0][3]++;
	else if (duration < 3 * MS)
		mine->hist[1][3]++;
	else if (duration < 7 * MS)
		mine->hist[2][3]++;
	else if (duration < 12 * MS)
		mine->hist[3][3]++;
	else if (duration < 18 * MS)
		mine->hist[4][3]++;
	else if (duration < 27 * MS)
		mine->hist[5][3]++;
	else if (duration < 44 * MS)
		mine->hist[6][3]++;
	else if (duration < 100 * MS)
		mine->hist[7][3]++;
	else if (duration < 200 * MS)
		mine->hist[8][3]++;
	else
		mine->hist[9][3]++;
	mine->svp_d_state_sum += duration;
	stats = stats_of(task, record_of(task));
	if (stats)
		count_task(stats->d_state_duration, &stats->d_state_duration_total,
			   duration < 3 * MS  ? 0 :
			   duration < 10 * MS ? 1 :
			   duration < 30 * MS ? 2 :
						3,
			   duration);
}

void floor_irqtime(void *data, u64 delta)
{
	struct histograms *mine;

	if (!static_branch_likely(&enable))
		return;
	mine = this_cpu_ptr(&histograms);
	if (delta < 100 * US)
		mine->hist[0][0]++;
	else if (delta < 200 * US)
		mine->hist[1][0]++;
	else if (delta < 300 * US)
		mine->hist[2][0]++;
	else if (delta < 500 * US)
		mine->hist[3][0]++;
	else if (delta < 1 * MS)
		mine->hist[4][0]++;
	else if (delta < 2 * MS)
		mine->hist[5][0]++;
	else if (delta < 4 * MS)
		mine->hist[6][0]++;
	else if (delta < 6 * MS)
		mine->hist[7][0]++;
	else if (delta < 8 * MS)
		mine->hist[8][0]++;
	else
		mine->hist[9][0]++;
}
