// SPDX-License-Identifier: GPL-2.0
/*
 * Measures calls in ns on one CPU and on several CPUs concurrently, on a machine with as many CPUs:
 * a record on each, and get_uid_state() for one UID and for a UID per CPU. A setter that calls
 * complete() for each record has no row: eight emulated CPUs wait for minutes at its lock.
 */
#include <linux/atomic.h>
#include <linux/completion.h>
#include <linux/cpumask.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/ktime.h>
#include <linux/math64.h>
#include <linux/sched.h>
#include <linux/tracepoint.h>

#include <linux/zem.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "handlers.h"
#include "processes.h"

#define GET_UID_STATE "_ZN3zem13get_uid_stateEj"
#define MOST_CPUS 8
#define ROUNDS 5

#define DISTINCT BIT(8)

static void (*submit)(void *data, struct bio *bio);
static u32 (*get_uid_state)(u32 uid);

static void call_get_uid_state(unsigned long uid)
{
	get_uid_state(uid);
}

static void push(unsigned long value)
{
	test_zem_set(0, &value, sizeof(value), 7);
}

struct caller {
	struct task_struct *task;
	bench_call call;
	unsigned long argument;
	unsigned int calls;
	u64 took;
	struct completion done;
};

static struct caller callers[MOST_CPUS];
/* The number of callers that are not on their CPU yet. All begin when it is 0. */
static atomic_t missing;

static int run_caller(void *argument)
{
	struct caller *caller = argument;
	u64 begin;

	preempt_disable();
	atomic_dec(&missing);
	while (atomic_read(&missing))
		cpu_relax();
	begin = ktime_get_mono_fast_ns();
	for (unsigned int i = 0; i < caller->calls; i++)
		caller->call(caller->argument);
	caller->took = ktime_get_mono_fast_ns() - begin;
	preempt_enable();
	complete(&caller->done);
	return 0;
}

static int make_caller(struct caller *caller, unsigned int cpu)
{
	init_completion(&caller->done);
	caller->task = kthread_create(run_caller, caller, "zem_bench/%u", cpu);
	if (IS_ERR(caller->task))
		return PTR_ERR(caller->task);
	kthread_bind(caller->task, cpu);
	return 0;
}

/* Return: the time of the slowest caller, ns; 0 if the callers could not be created. */
static u64 one_round(unsigned int cpus, bool distinct, bench_call call, unsigned int calls)
{
	u64 slowest = 0;

	atomic_set(&missing, cpus);
	for (unsigned int i = 0; i < cpus; i++) {
		callers[i].call = call;
		callers[i].argument = FIRST_UID + (distinct ? i : 0);
		callers[i].calls = calls;
		if (make_caller(&callers[i], i)) {
			while (i--)
				kthread_stop(callers[i].task);
			return 0;
		}
	}
	for (unsigned int i = 0; i < cpus; i++)
		wake_up_process(callers[i].task);
	for (unsigned int i = 0; i < cpus; i++) {
		wait_for_completion(&callers[i].done);
		slowest = max(slowest, callers[i].took);
	}
	return slowest;
}

static u64 measure_callers(const struct bench_table *table, const struct bench_row *row,
			   bench_call call)
{
	unsigned int cpus = row->argument & 0xff;
	u64 least = U64_MAX;

	for (int round = 0; round < ROUNDS; round++) {
		u64 took = one_round(cpus, row->argument & DISTINCT, call, table->calls);

		if (!took)
			pr_err_once("zem_bench: too few threads, the figures are wrong\n");
		least = min(least, took);
	}
	return div_u64(least * 100, table->calls);
}

static int contention_begin(const int *numbers, unsigned int count)
{
	int error = 0;

	submit = probe_of(&__tracepoint_android_vh_blk_bio_submit_record_task, 0);
	get_uid_state = function_of(GET_UID_STATE);
	if (!submit || !get_uid_state || num_online_cpus() < MOST_CPUS)
		return -ENODEV;
	for (int i = 0; i < MOST_CPUS && !error; i++)
		error = make_uid_known(submit, FIRST_UID + i);
	return error;
}

#define SETTER_ROW(label, shape) {.name = "setter/" label, .call = push, .argument = shape}
#define ROW(label, shape) \
	{.name = "get_uid_state/" label, .call = call_get_uid_state, .argument = shape}

static const struct bench_row rows[] = {
	SETTER_ROW("1_cpu", 1),	  SETTER_ROW("2_cpus", 2),
	SETTER_ROW("8_cpus", 8),  ROW("1_cpu", 1),
	ROW("2_cpus_one_uid", 2), ROW("2_cpus_distinct_uids", 2 | DISTINCT),
	ROW("8_cpus_one_uid", 8), ROW("8_cpus_distinct_uids", 8 | DISTINCT),
};

const struct bench_table contention_table = {
	.name = "contention",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = 2000,
	.begin = contention_begin,
	.measure = measure_callers,
};
