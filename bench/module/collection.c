// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the collection of SVP tasks and of the scheduler's histograms. The caller has made at
 * least as many tasks SVP as the longest row collects.
 */
#include <linux/kernel.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/signal.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "family.h"
#include "handlers.h"

typedef void (*depart_handler)(void *data, struct task_struct *task, u64 runtime);

static depart_handler enrol;

/* Enrols the row's number of SVP tasks, as if each had just left a CPU. */
static void enrol_tasks(unsigned long tasks)
{
	struct task_struct *process, *thread;

	rcu_read_lock();
	for_each_process_thread(process, thread) {
		if (!tasks)
			break;
		if (!(test_task_orig_svp(thread) & 1))
			continue;
		enrol(NULL, thread, 0);
		tasks--;
	}
	rcu_read_unlock();
	if (tasks)
		pr_err_once("zem_bench: too few SVP tasks, the figures are wrong\n");
}

static void sched_on(unsigned long unused)
{
	family_on();
}

static void sched_off(unsigned long unused)
{
	family_off();
}

/* zem's second probe of the hook enrols tasks. */
static int collection_begin(const int *numbers, unsigned int count)
{
	enrol = probe_of(&__tracepoint_android_vh_sched_info_depart, 1);
	return enrol ? family_open("sched_interval") : -ENODEV;
}

#define SVP_ROW(tasks)                     \
	{.name = "svp_collection/" #tasks, \
	 .call = collect,                  \
	 .empty = collect,                 \
	 .argument = tasks,                \
	 .settle = enrol_tasks}

static const struct bench_row rows[] = {
	SVP_ROW(1),
	SVP_ROW(100),
	SVP_ROW(1000),
	{
		.name = "sched_upload",
		.call = collect,
		.empty = collect,
		.settle = sched_on,
		.settle_empty = sched_off,
	},
};

const struct bench_table collection_table = {
	.name = "collection",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = 1,
	.sleeps = true,
	.begin = collection_begin,
	.end = family_close,
};
