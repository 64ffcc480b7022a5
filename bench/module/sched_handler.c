// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the handlers of the scheduler's hooks: with their switch off, on for an ordinary task,
 * and on for an SVP task.
 */
#include <linux/kernel.h>
#include <linux/math64.h>
#include <linux/sched.h>
#include <linux/time64.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "compare.h"
#include "handlers.h"
#include "report.h"
#include "sched_floor.h"

/* ns: in the lowest bucket of most histograms, where most values are. */
#define SHORT_TIME 90000

#define TASK_VALUE (void *data, struct task_struct *task, u64 value)

HANDLER(depart, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(enrol, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(dequeued, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(d_state, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER_WITH_FLOOR(arrive, (void *data, struct task_struct *task, u64 ignored, u64 delay), NULL,
		   bench_tasks[kind], 0, SHORT_TIME)
HANDLER(irqtime, (void *data, u64 delta), NULL, SHORT_TIME)

static const struct handler_place places[] = {
	{&depart, &__tracepoint_android_vh_sched_info_depart, 0},
	{&enrol, &__tracepoint_android_vh_sched_info_depart, 1},
	{&dequeued, &__tracepoint_android_rvh_sched_info_dequeued, 0},
	{&arrive, &__tracepoint_android_rvh_sched_info_arrive, 0},
	{&d_state, &__tracepoint_android_vh_task_d_state_dura_record, 0},
	{&irqtime, &__tracepoint_android_rvh_irqtime_account_hardirq, 0},
};

static int sched_begin(const int *numbers, unsigned int count)
{
	return handlers_find(places, ARRAY_SIZE(places)) ?: tasks_get(numbers, count);
}

static int sched_begin_off(const int *numbers, unsigned int count)
{
	floor_enable(false);
	return sched_begin(numbers, count);
}

static void sched_end(void)
{
	tasks_put();
	floor_enable(true);
}

/* ns: both sides of each bound of the buckets. */
static const u64 delays[] = {
	0,	 1,	   499999,   500000,   999999,	 1000000,  1999999,
	2000000, 2999999,  3000000,  4999999,  5000000,	 6999999,  7000000,
	9999999, 10000000, 14999999, 15000000, 19999999, 20000000,
};

/* ns: a multiple of 1 ms, because zem shows its sum in ms. */
#define SUM_OF_DELAYS 40000000
#define PENDING 3000000

#define SHOWN_DELAYS "/proc/sched_metrics/sched_metrics_svp_rundelay"

/* Each delay with and without a pending delay, for each task. */
#define ARRIVE_CASES (ARRAY_SIZE(delays) * 2 * BENCH_TASKS)

static struct task_struct *arriving_task(unsigned int index)
{
	return bench_tasks[index % BENCH_TASKS];
}

/* The second call completes the sum of the case to whole ms. */
static void arrive_by(void (*handler)(void *data, struct task_struct *task, u64 ignored, u64 delay),
		      unsigned int index)
{
	struct task_struct *task = arriving_task(index);
	u64 delay = delays[index / BENCH_TASKS / 2];

	if (index / BENCH_TASKS % 2)
		platform_task_ext(task)->pending_run_delay = PENDING;
	handler(NULL, task, 0, delay);
	handler(NULL, task, 0, SUM_OF_DELAYS - delay);
}

static void arrive_in_zem(unsigned int index)
{
	arrive_by(arrive, index);
}

static void arrive_in_floor(unsigned int index)
{
	arrive_by(floor_arrive, index);
}

/* Both sides add to the task's record. Return: the number of results. */
static size_t read_record(unsigned int index, u64 *results)
{
	struct task_struct *task = arriving_task(index);

	read_task_stats(task, results);
	results[STATS_WORDS] = platform_task_ext(task)->pending_run_delay;
	return STATS_WORDS + 1;
}

static int read_zem_delays(unsigned int index, u64 *results)
{
	int error;

	results += read_record(index, results);
	error = report_last_numbers(SHOWN_DELAYS "_total", results, RUN_DELAY_BUCKETS);
	if (error)
		return error;
	return report_last_numbers(SHOWN_DELAYS "_sum_total", results + RUN_DELAY_BUCKETS, 1);
}

static int read_floor_delays(unsigned int index, u64 *results)
{
	u64 sum;

	results += read_record(index, results);
	floor_run_delays(results, &sum);
	results[RUN_DELAY_BUCKETS] = div_u64(sum, NSEC_PER_MSEC);
	return 0;
}

static const struct comparison arrive_comparison = {
	.name = "sched_info_arrive",
	.cases = ARRIVE_CASES,
	.results = STATS_WORDS + 1 + RUN_DELAY_BUCKETS + 1,
	.zem = {arrive_in_zem, read_zem_delays},
	.floor = {arrive_in_floor, read_floor_delays},
};

static int sched_compare(void)
{
	return compare(&arrive_comparison);
}

static const struct bench_row off_rows[] = {
	HANDLER_ROW("sched_info_depart", "off", depart, IMPORTANT),
	HANDLER_ROW("sched_info_depart_enrol", "off", enrol, IMPORTANT),
	FLOOR_ROW("sched_info_arrive", "off", arrive, IMPORTANT),
	HANDLER_ROW("task_d_state_dura_record", "off", d_state, IMPORTANT),
	HANDLER_ROW("irqtime_account_hardirq", "off", irqtime, IMPORTANT),
};

static const struct bench_row on_rows[] = {
	HANDLER_ROW("sched_info_depart", "on", depart, ORDINARY),
	HANDLER_ROW("sched_info_depart", "svp", depart, IMPORTANT),
	HANDLER_ROW("sched_info_depart_enrol", "on", enrol, ORDINARY),
	HANDLER_ROW("sched_info_depart_enrol", "svp", enrol, IMPORTANT),
	HANDLER_ROW("sched_info_dequeued", "on", dequeued, ORDINARY),
	FLOOR_ROW("sched_info_arrive", "on", arrive, ORDINARY),
	FLOOR_ROW("sched_info_arrive", "svp", arrive, IMPORTANT),
	HANDLER_ROW("task_d_state_dura_record", "on", d_state, ORDINARY),
	HANDLER_ROW("task_d_state_dura_record", "svp", d_state, IMPORTANT),
	HANDLER_ROW("irqtime_account_hardirq", "on", irqtime, ORDINARY),
};

const struct bench_table sched_off_table = {
	.name = "sched_off",
	.rows = off_rows,
	.count = ARRAY_SIZE(off_rows),
	.calls = HANDLER_CALLS,
	.begin = sched_begin_off,
	.end = sched_end,
};

const struct bench_table sched_on_table = {
	.name = "sched_on",
	.rows = on_rows,
	.count = ARRAY_SIZE(on_rows),
	.calls = HANDLER_CALLS,
	.begin = sched_begin,
	.compare = sched_compare,
	.end = sched_end,
};
