/* SPDX-License-Identifier: GPL-2.0 */
/* The handlers of the scheduler's statistics in plain C, with the same logic as zem's. */
#ifndef _ZEM_BENCH_LOAD_FLOOR_H
#define _ZEM_BENCH_LOAD_FLOOR_H

#include <linux/types.h>

struct task_struct;

/* The sums of all rows and delays, in the order of zem's text. */
#define HEALTH_SUMS 21

/* Sets the floor's switch. It is on at load, as zem's is. */
void floor_health_enable(bool on);

/* Searches the groups of tasks. */
void floor_find_groups(void);

/* Called through pointers, with the arguments of the events. */
void floor_stat_wait(void *data, struct task_struct *task, u64 delay);
void floor_stat_blocked(void *data, struct task_struct *task, u64 delay);

/* Reads the sums of all CPUs, ns. */
void floor_health_sums(u64 sums[HEALTH_SUMS]);

#endif /* _ZEM_BENCH_LOAD_FLOOR_H */
