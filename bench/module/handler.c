// SPDX-License-Identifier: GPL-2.0
/*
 * The cost of a hook handler: with its switch off, on for an ordinary task, on for an SVP task. The
 * handlers are called as the hook calls them, by their place among the hook's probes, and what the
 * call itself costs is taken off.
 */
#include <linux/kernel.h>
#include <linux/pid.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "handler.h"

/* In the lowest bucket of most histograms, where most values are. */
#define SHORT_TIME 90000

typedef void (*task_value_handler)(void *data, struct task_struct *task, u64 value);
typedef void (*arrive_handler)(void *data, struct task_struct *task, u64 ignored, u64 delay);
typedef void (*value_handler)(void *data, u64 value);

static struct task_struct *ordinary;
static struct task_struct *important;

enum { ORDINARY, IMPORTANT };

static struct task_struct *task_of(unsigned long kind)
{
	return kind == IMPORTANT ? important : ordinary;
}

/* What a call costs that does nothing. */
static noinline void nothing_task_value(void *data, struct task_struct *task, u64 value)
{
}

static noinline void nothing_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay)
{
}

static noinline void nothing_value(void *data, u64 value)
{
}

/* Found at the start of a table. */
static task_value_handler enrol, dequeued, depart, d_state;
static arrive_handler arrive;
static value_handler irqtime;

#define TASK_VALUE_CALLS(name)                                            \
	static void call_##name(unsigned long kind)                       \
	{                                                                 \
		READ_ONCE(name)(NULL, task_of(kind), SHORT_TIME);         \
	}                                                                 \
	static task_value_handler name##_floor = floor_##name;            \
	static void call_##name##_floor(unsigned long kind)               \
	{                                                                 \
		READ_ONCE(name##_floor)(NULL, task_of(kind), SHORT_TIME); \
	}

TASK_VALUE_CALLS(enrol)
TASK_VALUE_CALLS(dequeued)
TASK_VALUE_CALLS(depart)
TASK_VALUE_CALLS(d_state)

static task_value_handler nothing = nothing_task_value;

static void call_nothing(unsigned long kind)
{
	READ_ONCE(nothing)(NULL, task_of(kind), SHORT_TIME);
}

static void call_arrive(unsigned long kind)
{
	READ_ONCE(arrive)(NULL, task_of(kind), 0, SHORT_TIME);
}

static arrive_handler arrive_floor = floor_arrive;

static void call_arrive_floor(unsigned long kind)
{
	READ_ONCE(arrive_floor)(NULL, task_of(kind), 0, SHORT_TIME);
}

static arrive_handler arrive_nothing = nothing_arrive;

static void call_arrive_nothing(unsigned long kind)
{
	READ_ONCE(arrive_nothing)(NULL, task_of(kind), 0, SHORT_TIME);
}

static void call_irqtime(unsigned long unused)
{
	READ_ONCE(irqtime)(NULL, SHORT_TIME);
}

static value_handler irqtime_floor = floor_irqtime;

static void call_irqtime_floor(unsigned long unused)
{
	READ_ONCE(irqtime_floor)(NULL, SHORT_TIME);
}

static value_handler irqtime_nothing = nothing_value;

static void call_irqtime_nothing(unsigned long unused)
{
	READ_ONCE(irqtime_nothing)(NULL, SHORT_TIME);
}

void *probe_of(struct tracepoint *hook, int index)
{
	struct tracepoint_func *probes;
	void *found = NULL;

	rcu_read_lock();
	probes = rcu_dereference(hook->funcs);
	for (int i = 0; probes && probes[i].func; i++)
		if (i == index)
			found = probes[i].func;
	rcu_read_unlock();
	return found;
}

struct task_struct *get_task(int pid)
{
	struct task_struct *task;

	rcu_read_lock();
	task = pid_task(find_vpid(pid), PIDTYPE_PID);
	if (task)
		get_task_struct(task);
	rcu_read_unlock();
	return task;
}

static void handlers_end(void)
{
	if (ordinary)
		put_task_struct(ordinary);
	if (important)
		put_task_struct(important);
	ordinary = NULL;
	important = NULL;
	floor_enable(true);
}

/* @numbers: the pids of an ordinary and of an SVP task. */
static int handlers_begin(const int *numbers, unsigned int count)
{
	if (count != 2)
		return -EINVAL;
	depart = probe_of(&__tracepoint_android_vh_sched_info_depart, 0);
	enrol = probe_of(&__tracepoint_android_vh_sched_info_depart, 1);
	dequeued = probe_of(&__tracepoint_android_rvh_sched_info_dequeued, 0);
	arrive = probe_of(&__tracepoint_android_rvh_sched_info_arrive, 0);
	d_state = probe_of(&__tracepoint_android_vh_task_d_state_dura_record, 0);
	irqtime = probe_of(&__tracepoint_android_rvh_irqtime_account_hardirq, 0);
	if (!depart || !enrol || !dequeued || !arrive || !d_state || !irqtime)
		return -ENODEV;
	ordinary = get_task(numbers[0]);
	important = get_task(numbers[1]);
	if (ordinary && important)
		return 0;
	handlers_end();
	return -ESRCH;
}

static int handlers_begin_off(const int *numbers, unsigned int count)
{
	floor_enable(false);
	return handlers_begin(numbers, count);
}

#define ROW(hook, state, function, around, kind)                                    \
	{                                                                           \
		.name = "handler/" hook "/" state, .call = call_##function,         \
		.floor = call_##function##_floor, .empty = around, .argument = kind \
	}

static const struct bench_row off_rows[] = {
	ROW("sched_info_depart", "off", depart, call_nothing, IMPORTANT),
	ROW("sched_info_depart_enrol", "off", enrol, call_nothing, IMPORTANT),
	ROW("sched_info_arrive", "off", arrive, call_arrive_nothing, IMPORTANT),
	ROW("task_d_state_dura_record", "off", d_state, call_nothing, IMPORTANT),
	ROW("irqtime_account_hardirq", "off", irqtime, call_irqtime_nothing, IMPORTANT),
};

static const struct bench_row on_rows[] = {
	ROW("sched_info_depart", "on", depart, call_nothing, ORDINARY),
	ROW("sched_info_depart", "svp", depart, call_nothing, IMPORTANT),
	ROW("sched_info_depart_enrol", "on", enrol, call_nothing, ORDINARY),
	ROW("sched_info_depart_enrol", "svp", enrol, call_nothing, IMPORTANT),
	ROW("sched_info_dequeued", "on", dequeued, call_nothing, ORDINARY),
	ROW("sched_info_arrive", "on", arrive, call_arrive_nothing, ORDINARY),
	ROW("sched_info_arrive", "svp", arrive, call_arrive_nothing, IMPORTANT),
	ROW("task_d_state_dura_record", "on", d_state, call_nothing, ORDINARY),
	ROW("task_d_state_dura_record", "svp", d_state, call_nothing, IMPORTANT),
	ROW("irqtime_account_hardirq", "on", irqtime, call_irqtime_nothing, ORDINARY),
};

const struct bench_table handler_off_table = {
	.name = "handler_off",
	.rows = off_rows,
	.count = ARRAY_SIZE(off_rows),
	.calls = 400,
	.begin = handlers_begin_off,
	.end = handlers_end,
};

const struct bench_table handler_on_table = {
	.name = "handler_on",
	.rows = on_rows,
	.count = ARRAY_SIZE(on_rows),
	.calls = 400,
	.begin = handlers_begin,
	.end = handlers_end,
};
