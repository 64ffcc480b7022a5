// SPDX-License-Identifier: GPL-2.0
/* Counting by the virtual clock, which the emulator steps by one nanosecond an instruction. */
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/math64.h>
#include <linux/sched.h>
#include <linux/timekeeping.h>

#include "bench.h"

#define ROUNDS 15
#define CALLS 400

/* Not inlined, so that an empty loop and a full one are the same but for the calls. */
static noinline u64 time_calls(bench_call call, unsigned long argument)
{
	u64 begin = ktime_get_mono_fast_ns();

	for (int i = 0; i < CALLS; i++)
		call(argument);
	return ktime_get_mono_fast_ns() - begin;
}

static void no_call(unsigned long argument)
{
}

static u64 least_of_rounds(bench_call call, unsigned long argument, void (*settle)(void))
{
	u64 least = U64_MAX;

	for (int round = 0; round < ROUNDS; round++) {
		unsigned long flags;
		u64 time;

		if (settle)
			settle();
		cond_resched();
		local_irq_save(flags);
		call(argument); /* the first may find things to wake up or to set up */
		time = time_calls(call, argument);
		local_irq_restore(flags);
		least = min(least, time);
	}
	return least;
}

u64 measure(bench_call call, unsigned long argument, void (*settle)(void))
{
	u64 empty = least_of_rounds(no_call, 0, NULL);
	u64 full = least_of_rounds(call, argument, settle);

	return div_u64(max(full, empty) * 100 - empty * 100, CALLS);
}
