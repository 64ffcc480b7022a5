/* SPDX-License-Identifier: GPL-2.0 */
/* The handler of a task that gets a CPU in plain C, with the same logic and layout as zem's. */
#ifndef _ZEM_BENCH_SCHED_FLOOR_H
#define _ZEM_BENCH_SCHED_FLOOR_H

#include <linux/types.h>

struct task_struct;

#define RUN_DELAY_BUCKETS 10

/* Sets the floor's switch. It is on at load, as zem's keys are. */
void floor_enable(bool on);

/* Called through a pointer, with the arguments of the hook. */
void floor_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay);

/* Reads the histogram of all CPUs and the sum of the delays, ns. */
void floor_run_delays(u64 buckets[RUN_DELAY_BUCKETS], u64 *sum);

#endif /* _ZEM_BENCH_SCHED_FLOOR_H */
