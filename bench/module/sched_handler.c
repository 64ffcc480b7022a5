// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the handlers of the scheduler's hooks: with their switch off, on for an ordinary task,
 * and on for an SVP task.
 */
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "handlers.h"
#include "sched_floor.h"

/* ns: in the lowest bucket of most histograms, where most values are. */
#define SHORT_TIME 90000

#define TASK_VALUE (void *data, struct task_struct *task, u64 value)

HANDLER(depart, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(enrol, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(dequeued, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(d_state, TASK_VALUE, NULL, bench_tasks[kind], SHORT_TIME)
HANDLER(arrive, (void *data, struct task_struct *task, u64 ignored, u64 delay), NULL,
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

static const struct bench_row off_rows[] = {
	HANDLER_ROW("sched_info_depart", "off", depart, IMPORTANT),
	HANDLER_ROW("sched_info_depart_enrol", "off", enrol, IMPORTANT),
	HANDLER_ROW("sched_info_arrive", "off", arrive, IMPORTANT),
	HANDLER_ROW("task_d_state_dura_record", "off", d_state, IMPORTANT),
	HANDLER_ROW("irqtime_account_hardirq", "off", irqtime, IMPORTANT),
};

static const struct bench_row on_rows[] = {
	HANDLER_ROW("sched_info_depart", "on", depart, ORDINARY),
	HANDLER_ROW("sched_info_depart", "svp", depart, IMPORTANT),
	HANDLER_ROW("sched_info_depart_enrol", "on", enrol, ORDINARY),
	HANDLER_ROW("sched_info_depart_enrol", "svp", enrol, IMPORTANT),
	HANDLER_ROW("sched_info_dequeued", "on", dequeued, ORDINARY),
	HANDLER_ROW("sched_info_arrive", "on", arrive, ORDINARY),
	HANDLER_ROW("sched_info_arrive", "svp", arrive, IMPORTANT),
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
	.end = sched_end,
};
