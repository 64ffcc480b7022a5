// SPDX-License-Identifier: GPL-2.0
#include "nmi_source.h"

#include <linux/cpumask.h>
#include <linux/errno.h>

#ifdef CONFIG_PERF_EVENTS

#include <linux/err.h>
#include <linux/perf_event.h>
#include <linux/preempt.h>
#include <linux/sched.h>

/* Cycles between two interrupts. An emulated CPU may get a tenth of the time in which they pass. */
#define PERIOD 4000000

struct calls {
	bool (*fn)(void *data);
	void *data;
	bool is_maskable;
	bool is_done;
};

static void on_overflow(struct perf_event *event, struct perf_sample_data *data,
			struct pt_regs *regs)
{
	struct calls *calls = event->overflow_handler_context;

	if (!in_nmi())
		WRITE_ONCE(calls->is_maskable, true);
	else if (!READ_ONCE(calls->is_done) && !calls->fn(calls->data))
		WRITE_ONCE(calls->is_done, true);
}

int call_in_nmis(int cpu, bool (*fn)(void *data), void *data)
{
	struct perf_event_attr cycles = {
		.type = PERF_TYPE_HARDWARE,
		.config = PERF_COUNT_HW_CPU_CYCLES,
		.size = sizeof(cycles),
		.sample_period = PERIOD,
		.pinned = 1,
	};
	struct calls calls = {.fn = fn, .data = data};
	struct perf_event *event;

	if (!cpu_online(cpu))
		return -ENODEV;
	event = perf_event_create_kernel_counter(&cycles, cpu, NULL, on_overflow, &calls);
	if (IS_ERR(event))
		return PTR_ERR(event) == -ENODEV ? -ENODEV : -EOPNOTSUPP;
	while (!READ_ONCE(calls.is_done) && !READ_ONCE(calls.is_maskable) && cpu_online(cpu))
		cond_resched();
	/* Returns when the handler no longer runs. */
	perf_event_release_kernel(event);
	if (calls.is_done)
		return 0;
	return calls.is_maskable ? -EOPNOTSUPP : -ENODEV;
}

#else

int call_in_nmis(int cpu, bool (*fn)(void *data), void *data)
{
	return -EOPNOTSUPP;
}

#endif
