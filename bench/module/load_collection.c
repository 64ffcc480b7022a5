// SPDX-License-Identifier: GPL-2.0
/*
 * The cost of collecting the load of so many processes, all of which have something to report, and
 * of the text of the health sums. The processes are threads of the kernel that sleep; what the
 * trigger's write costs without is taken off.
 */
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/sizes.h>
#include <linux/slab.h>
#include <linux/vmalloc.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "load.h"

#define MOST_TASKS 5000
#define MANY_CYCLES 1000000000000ULL

static struct file *trigger, *load_interval, *report;
static load_handler feed;

static struct task_struct *processes[MOST_TASKS];
static unsigned long process_count;

static int sleep_until_stopped(void *unused)
{
	while (!kthread_should_stop()) {
		set_current_state(TASK_IDLE);
		if (!kthread_should_stop())
			schedule();
		__set_current_state(TASK_RUNNING);
	}
	return 0;
}

static bool has_load_block(struct task_struct *task)
{
	struct task_ext *record;
	bool has;

	rcu_read_lock();
	record = platform_task_ext(task);
	has = !IS_ERR_OR_NULL(record) && record->load_block;
	rcu_read_unlock();
	return has;
}

static void make_processes(unsigned long count)
{
	while (process_count > count)
		kthread_stop(processes[--process_count]);
	while (process_count < count) {
		struct task_struct *task = kthread_run(sleep_until_stopped, NULL, "zem_bench");

		if (IS_ERR(task) || !has_load_block(task)) {
			pr_err_once(
				"zem_bench: too few tasks have a record, the figures are wrong\n");
			return;
		}
		processes[process_count++] = task;
	}
}

/* As if each had run since the collection before. */
static void occupy(unsigned long count)
{
	make_processes(count);
	write_text(load_interval, "1");
	preempt_disable();
	for (unsigned long i = 0; i < process_count; i++)
		feed(processes[i], 0, MANY_CYCLES);
	preempt_enable();
}

static void switch_off(unsigned long count)
{
	make_processes(count);
	write_text(load_interval, "0");
}

static void collect(unsigned long unused)
{
	write_text(trigger, "1");
}

/* The text as a reader's first read makes it, which copies it besides. */
static void show_report(unsigned long unused)
{
	struct seq_file *seq = report->private_data;

	seq->count = 0;
	if (seq->op->show(seq, NULL) || !seq->count || seq_has_overflowed(seq))
		pr_err_once("zem_bench: no report was made, the figures are wrong\n");
}

static void close_file(struct file **file)
{
	if (!IS_ERR_OR_NULL(*file))
		filp_close(*file, NULL);
	*file = NULL;
}

static void collection_end(void)
{
	make_processes(0);
	if (!IS_ERR_OR_NULL(load_interval))
		write_text(load_interval, "0");
	close_file(&trigger);
	close_file(&load_interval);
	close_file(&report);
}

/* Where a read would have made it. */
static int give_buffer(struct seq_file *seq)
{
	seq->size = SZ_64K;
	seq->buf = kvmalloc(seq->size, GFP_KERNEL);
	return seq->buf ? 0 : -ENOMEM;
}

static int collection_begin(const int *numbers, unsigned int count)
{
	int error = -ENODEV;

	feed = find_load_handler();
	trigger = filp_open("/sys/zem/trigger", O_WRONLY, 0);
	load_interval = filp_open("/sys/zem/load_interval", O_WRONLY, 0);
	report = filp_open("/proc/morva_sched_healthinfo/sched_healthinfo", O_RDONLY, 0);
	if (feed && !IS_ERR(trigger) && !IS_ERR(load_interval) && !IS_ERR(report))
		error = give_buffer(report->private_data);
	if (error)
		collection_end();
	return error;
}

#define LOAD_ROW(tasks)                                                               \
	{                                                                             \
		.name = "load_collection/" #tasks, .call = collect, .empty = collect, \
		.argument = tasks, .settle = occupy, .settle_empty = switch_off       \
	}

static const struct bench_row rows[] = {
	LOAD_ROW(100),
	LOAD_ROW(1000),
	LOAD_ROW(5000),
	{.name = "health_report", .call = show_report},
};

const struct bench_table load_collection_table = {
	.name = "load_collection",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = 1,
	.sleeps = true,
	.begin = collection_begin,
	.end = collection_end,
};
