// SPDX-License-Identifier: GPL-2.0
/*
 * The cost of collections, by a write to /sys/zem/trigger that has one family to run; what the
 * write costs without is taken off. The caller has set the intervals of all families but svp to 0,
 * and made at least as many tasks SVP as the longest row collects.
 */
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/signal.h>
#include <linux/string.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"

typedef void (*depart_handler)(void *data, struct task_struct *task, u64 runtime);

static struct file *trigger;
static struct file *sched_interval;
static depart_handler enrol;

void write_text(struct file *file, const char *text)
{
	loff_t start = 0;

	if (kernel_write(file, text, strlen(text), &start) < 0)
		pr_err_once("zem_bench: a write to /sys/zem failed, the figures are wrong\n");
}

static void collect(unsigned long tasks)
{
	write_text(trigger, "1");
}

/* As many SVP tasks as the row says, as if each had just left a CPU. */
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
	write_text(sched_interval, "1");
}

static void sched_off(unsigned long unused)
{
	write_text(sched_interval, "0");
}

static void collection_end(void)
{
	if (!IS_ERR_OR_NULL(trigger))
		filp_close(trigger, NULL);
	if (!IS_ERR_OR_NULL(sched_interval))
		filp_close(sched_interval, NULL);
	trigger = NULL;
	sched_interval = NULL;
}

/* zem's second probe of the hook is the one that enrols. */
static int collection_begin(const int *numbers, unsigned int count)
{
	struct tracepoint_func *probes;

	rcu_read_lock();
	probes = rcu_dereference(__tracepoint_android_vh_sched_info_depart.funcs);
	enrol = probes && probes[0].func ? probes[1].func : NULL;
	rcu_read_unlock();
	trigger = filp_open("/sys/zem/trigger", O_WRONLY, 0);
	sched_interval = filp_open("/sys/zem/sched_interval", O_WRONLY, 0);
	if (enrol && !IS_ERR(trigger) && !IS_ERR(sched_interval))
		return 0;
	collection_end();
	return -ENODEV;
}

#define SVP_ROW(tasks)                                                               \
	{                                                                            \
		.name = "svp_collection/" #tasks, .call = collect, .empty = collect, \
		.argument = tasks, .settle = enrol_tasks                             \
	}

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
	.end = collection_end,
};
