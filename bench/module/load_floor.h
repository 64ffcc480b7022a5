/* SPDX-License-Identifier: GPL-2.0 */
/* The load and health handlers in plain C: the same logic, to compare costs with. */
#ifndef _ZEM_BENCH_LOAD_FLOOR_H
#define _ZEM_BENCH_LOAD_FLOOR_H

#include <linux/types.h>

struct task_struct;

/* zem's, which it has given the platform to be fed and the platform keeps to itself. */
#define LOAD_FEED "_ZN3zem12_GLOBAL__N_122load_stat_proc_runtimeEP11task_structjy"
typedef void (*load_handler)(struct task_struct *task, u32 cluster, u64 delta);

/* The floors' switches; as zem's they are on at load. */
void floor_load_enable(bool on);

/* Looks for the groups of tasks, which stay found. */
void floor_find_groups(void);

/* Called through pointers, with the arguments of the feed and of the events. */
void floor_load_feed(struct task_struct *task, u32 cluster, u64 delta);
void floor_stat_wait(void *data, struct task_struct *task, u64 delay);
void floor_stat_blocked(void *data, struct task_struct *task, u64 delay);

#endif /* _ZEM_BENCH_LOAD_FLOOR_H */
