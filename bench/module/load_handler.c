// SPDX-License-Identifier: GPL-2.0
/*
 * The cost of a handler of the load and health families: with its switch off, on for an ordinary
 * task of the background, on for an SVP task of the foreground, and on where there is no foreground
 * group to be found. As in handler.c, what the call itself costs is taken off.
 */
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "handler.h"
#include "load.h"

#define SOME_TIME 90000

typedef void (*delay_handler)(void *data, struct task_struct *task, u64 delay);

enum { ORDINARY, IMPORTANT, TASKS };

static struct task_struct *tasks[TASKS];

static noinline void nothing_delay(void *data, struct task_struct *task, u64 delay)
{
}

static noinline void nothing_load(struct task_struct *task, u32 cluster, u64 delta)
{
}

/* Found at the start of a table. */
static delay_handler stat_wait, stat_blocked;
static load_handler load_feed;

static delay_handler stat_wait_floor = floor_stat_wait;
static delay_handler stat_blocked_floor = floor_stat_blocked;
static delay_handler delay_nothing = nothing_delay;
static load_handler load_feed_floor = floor_load_feed;
static load_handler load_nothing = nothing_load;

#define DELAY_CALL(name)                                       \
	static void call_##name(unsigned long kind)            \
	{                                                      \
		READ_ONCE(name)(NULL, tasks[kind], SOME_TIME); \
	}
#define LOAD_CALL(name)                                     \
	static void call_##name(unsigned long kind)         \
	{                                                   \
		READ_ONCE(name)(tasks[kind], 0, SOME_TIME); \
	}

DELAY_CALL(stat_wait)
DELAY_CALL(stat_wait_floor)
DELAY_CALL(stat_blocked)
DELAY_CALL(stat_blocked_floor)
DELAY_CALL(delay_nothing)
LOAD_CALL(load_feed)
LOAD_CALL(load_feed_floor)
LOAD_CALL(load_nothing)

static void handlers_end(void)
{
	for (int i = 0; i < TASKS; i++) {
		if (tasks[i])
			put_task_struct(tasks[i]);
		tasks[i] = NULL;
	}
	floor_load_enable(true);
}

/* @numbers: the pids of an ordinary and of an SVP task. */
static int handlers_begin(const int *numbers, unsigned int count)
{
	if (count != TASKS)
		return -EINVAL;
	floor_find_groups();
	load_feed = find_load_handler();
	stat_wait = probe_of(&__tracepoint_sched_stat_wait, 0);
	stat_blocked = probe_of(&__tracepoint_sched_stat_blocked, 0);
	if (!load_feed || !stat_wait || !stat_blocked)
		return -ENODEV;
	for (int i = 0; i < TASKS; i++) {
		tasks[i] = get_task(numbers[i]);
		if (!tasks[i]) {
			handlers_end();
			return -ESRCH;
		}
	}
	return 0;
}

static int handlers_begin_off(const int *numbers, unsigned int count)
{
	floor_load_enable(false);
	return handlers_begin(numbers, count);
}

#define ROW(hook, state, function, around, kind)                                    \
	{                                                                           \
		.name = "handler/" hook "/" state, .call = call_##function,         \
		.floor = call_##function##_floor, .empty = around, .argument = kind \
	}

static const struct bench_row off_rows[] = {
	ROW("load_stat_proc_runtime", "off", load_feed, call_load_nothing, ORDINARY),
	ROW("sched_stat_wait", "off", stat_wait, call_delay_nothing, ORDINARY),
	ROW("sched_stat_blocked", "off", stat_blocked, call_delay_nothing, ORDINARY),
};

static const struct bench_row on_rows[] = {
	ROW("load_stat_proc_runtime", "on", load_feed, call_load_nothing, ORDINARY),
	ROW("sched_stat_wait", "on", stat_wait, call_delay_nothing, ORDINARY),
	ROW("sched_stat_wait", "svp", stat_wait, call_delay_nothing, IMPORTANT),
	ROW("sched_stat_blocked", "on", stat_blocked, call_delay_nothing, ORDINARY),
	ROW("sched_stat_blocked", "svp", stat_blocked, call_delay_nothing, IMPORTANT),
};

static const struct bench_row no_foreground_rows[] = {
	ROW("sched_stat_wait", "no_foreground", stat_wait, call_delay_nothing, ORDINARY),
};

const struct bench_table load_off_table = {
	.name = "load_off",
	.rows = off_rows,
	.count = ARRAY_SIZE(off_rows),
	.calls = 400,
	.begin = handlers_begin_off,
	.end = handlers_end,
};

const struct bench_table load_on_table = {
	.name = "load_on",
	.rows = on_rows,
	.count = ARRAY_SIZE(on_rows),
	.calls = 400,
	.begin = handlers_begin,
	.end = handlers_end,
};

const struct bench_table no_foreground_table = {
	.name = "no_foreground",
	.rows = no_foreground_rows,
	.count = ARRAY_SIZE(no_foreground_rows),
	.calls = 400,
	.begin = handlers_begin,
	.end = handlers_end,
};
