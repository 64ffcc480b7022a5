// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the collection of the load by the number of processes, each of which has a load to
 * report, and the text of the health sums.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/preempt.h>

#include "bench.h"
#include "family.h"
#include "handlers.h"
#include "processes.h"
#include "report.h"

#define MANY_CYCLES 1000000000000ULL

static struct file *report;
static load_handler feed;

/* Feeds every process, as if it had run since the last collection. */
static void occupy(unsigned long count)
{
	processes_make(count, 0);
	family_on();
	preempt_disable();
	for (unsigned long i = 0; i < process_count; i++)
		feed(processes[i], 0, MANY_CYCLES);
	preempt_enable();
}

static void switch_off(unsigned long count)
{
	processes_make(count, 0);
	family_off();
}

/* Formats the text as a reader's first read does, without the copy to user space. */
static void show_report(unsigned long unused)
{
	if (!report_text(report))
		pr_err_once("zem_bench: no report was made, the figures are wrong\n");
}

static void collection_end(void)
{
	processes_make(0, 0);
	if (!IS_ERR_OR_NULL(report))
		report_close(report);
	report = NULL;
	family_close();
}

static int collection_begin(const int *numbers, unsigned int count)
{
	int error = family_open("load_interval");

	if (error)
		return error;
	feed = function_of(LOAD_FEED);
	report = report_open("/proc/morva_sched_healthinfo/sched_healthinfo");
	if (feed && !IS_ERR(report))
		return 0;
	collection_end();
	return -ENODEV;
}

#define LOAD_ROW(tasks)                     \
	{.name = "load_collection/" #tasks, \
	 .call = collect,                   \
	 .empty = collect,                  \
	 .argument = tasks,                 \
	 .settle = occupy,                  \
	 .settle_empty = switch_off}

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
