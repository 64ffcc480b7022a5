// SPDX-License-Identifier: GPL-2.0
/* Counts instructions by the virtual clock, which advances one nanosecond per instruction. */
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/math64.h>
#include <linux/sched.h>

#include "bench.h"

#define ROUNDS 15

/* Not inlined, so that an empty loop and a full one differ only in the calls. */
static noinline u64 time_calls(bench_call call, unsigned long argument, unsigned int calls)
{
	u64 begin = ktime_get_mono_fast_ns();

	for (unsigned int i = 0; i < calls; i++)
		call(argument);
	return ktime_get_mono_fast_ns() - begin;
}

static void no_call(unsigned long argument)
{
}

static u64 one_round(const struct bench_table *table, bench_call call, unsigned long argument)
{
	unsigned long flags;
	u64 time;

	if (table->sleeps)
		return time_calls(call, argument, table->calls);
	local_irq_save(flags);
	call(argument); /* the first call may wake a task or set something up */
	time = time_calls(call, argument, table->calls);
	local_irq_restore(flags);
	return time;
}

static u64 least_of_rounds(const struct bench_table *table, bench_call call, unsigned long argument,
			   void (*settle)(unsigned long argument))
{
	u64 least = U64_MAX;

	for (int round = 0; round < ROUNDS; round++) {
		if (settle)
			settle(argument);
		cond_resched();
		least = min(least, one_round(table, call, argument));
	}
	return least;
}

u64 measure(const struct bench_table *table, const struct bench_row *row, bench_call call)
{
	u64 empty = least_of_rounds(table, row->empty ?: no_call, row->argument, row->settle_empty);
	u64 full = least_of_rounds(table, call, row->argument, row->settle);

	return div_u64(max(full, empty) * 100 - empty * 100, table->calls);
}
