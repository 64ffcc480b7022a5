// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the handlers of the load and health families: with their switch off, on for an ordinary
 * task of the background, on for an SVP task of the foreground, and on without a foreground group.
 */
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "compare.h"
#include "handlers.h"
#include "load_floor.h"
#include "report.h"

#define SOME_TIME 90000

#define TASK_VALUE (void *data, struct task_struct *task, u64 value)

HANDLER(load_feed, (struct task_struct * task, u32 cluster, u64 delta), bench_tasks[kind], 0,
	SOME_TIME)
HANDLER_WITH_FLOOR(stat_wait, TASK_VALUE, NULL, bench_tasks[kind], SOME_TIME)
HANDLER_WITH_FLOOR(stat_blocked, TASK_VALUE, NULL, bench_tasks[kind], SOME_TIME)

static const struct handler_place places[] = {
	{&stat_wait, &__tracepoint_sched_stat_wait, 0},
	{&stat_blocked, &__tracepoint_sched_stat_blocked, 0},
};

static int load_begin(const int *numbers, unsigned int count)
{
	floor_find_groups();
	load_feed = function_of(LOAD_FEED);
	if (!load_feed)
		return -ENODEV;
	return handlers_find(places, ARRAY_SIZE(places)) ?: tasks_get(numbers, count);
}

static int load_begin_off(const int *numbers, unsigned int count)
{
	floor_health_enable(false);
	return load_begin(numbers, count);
}

static void load_end(void)
{
	tasks_put();
	floor_health_enable(true);
}

static const u64 delays[] = {1, SOME_TIME, 7000000000};

/* Each delay for each task, as a wait for a CPU and as uninterruptible sleep. */
#define DELAY_CASES (ARRAY_SIZE(delays) * BENCH_TASKS * 2)

static void delay_by(void (*wait)(void *data, struct task_struct *task, u64 delay),
		     void (*blocked)(void *data, struct task_struct *task, u64 delay),
		     unsigned int index)
{
	(index / BENCH_TASKS % 2 ? wait : blocked)(NULL, bench_tasks[index % BENCH_TASKS],
						   delays[index / BENCH_TASKS / 2]);
}

static void delay_in_zem(unsigned int index)
{
	delay_by(stat_wait, stat_blocked, index);
}

static void delay_in_floor(unsigned int index)
{
	delay_by(floor_stat_wait, floor_stat_blocked, index);
}

static int read_zem_sums(unsigned int index, u64 *sums)
{
	return report_last_numbers("/proc/morva_sched_healthinfo/sched_healthinfo", sums,
				   HEALTH_SUMS);
}

static int read_floor_sums(unsigned int index, u64 *sums)
{
	floor_health_sums(sums);
	return 0;
}

static const struct comparison delay_comparison = {
	.name = "sched_stat_wait and sched_stat_blocked",
	.cases = DELAY_CASES,
	.results = HEALTH_SUMS,
	.zem = {delay_in_zem, read_zem_sums},
	.floor = {delay_in_floor, read_floor_sums},
};

static int load_compare(void)
{
	return compare(&delay_comparison);
}

static const struct bench_row off_rows[] = {
	HANDLER_ROW("load_stat_proc_runtime", "off", load_feed, ORDINARY),
	FLOOR_ROW("sched_stat_wait", "off", stat_wait, ORDINARY),
	FLOOR_ROW("sched_stat_blocked", "off", stat_blocked, ORDINARY),
};

static const struct bench_row on_rows[] = {
	HANDLER_ROW("load_stat_proc_runtime", "on", load_feed, ORDINARY),
	FLOOR_ROW("sched_stat_wait", "on", stat_wait, ORDINARY),
	FLOOR_ROW("sched_stat_wait", "svp", stat_wait, IMPORTANT),
	FLOOR_ROW("sched_stat_blocked", "on", stat_blocked, ORDINARY),
	FLOOR_ROW("sched_stat_blocked", "svp", stat_blocked, IMPORTANT),
};

static const struct bench_row no_foreground_rows[] = {
	HANDLER_ROW("sched_stat_wait", "no_foreground", stat_wait, ORDINARY),
};

const struct bench_table load_off_table = {
	.name = "load_off",
	.rows = off_rows,
	.count = ARRAY_SIZE(off_rows),
	.calls = HANDLER_CALLS,
	.begin = load_begin_off,
	.end = load_end,
};

const struct bench_table load_on_table = {
	.name = "load_on",
	.rows = on_rows,
	.count = ARRAY_SIZE(on_rows),
	.calls = HANDLER_CALLS,
	.begin = load_begin,
	.compare = load_compare,
	.end = load_end,
};

const struct bench_table no_foreground_table = {
	.name = "no_foreground",
	.rows = no_foreground_rows,
	.count = ARRAY_SIZE(no_foreground_rows),
	.calls = HANDLER_CALLS,
	.begin = load_begin,
	.end = load_end,
};
