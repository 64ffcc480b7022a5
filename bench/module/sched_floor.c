// SPDX-License-Identifier: GPL-2.0
/*
 * Does the work of the handler as kernel code usually does: static branch, this_cpu pointer, chain
 * of comparisons, atomics on the task's block.
 */
#include <linux/atomic.h>
#include <linux/cpumask.h>
#include <linux/err.h>
#include <linux/jump_label.h>
#include <linux/percpu.h>
#include <linux/sched.h>
#include <linux/time64.h>

#include <linux/zem.h>

#include "../../drivers/zem/platform/contract.h"
#include "sched_floor.h"

#define US 1000ULL
#define MS 1000000ULL

struct histograms {
	u64 hist[RUN_DELAY_BUCKETS][4]; /* as zem's; only column 2 is used */
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

void floor_run_delays(u64 buckets[RUN_DELAY_BUCKETS], u64 *sum)
{
	int cpu;

	*sum = 0;
	for (int i = 0; i < RUN_DELAY_BUCKETS; i++)
		buckets[i] = 0;
	for_each_possible_cpu(cpu) {
		const struct histograms *of_cpu = per_cpu_ptr(&histograms, cpu);

		for (int i = 0; i < RUN_DELAY_BUCKETS; i++)
			buckets[i] += of_cpu->hist[i][2];
		*sum += of_cpu->svp_rundelay_sum;
	}
}
