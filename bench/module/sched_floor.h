/* SPDX-License-Identifier: GPL-2.0 */
/* The scheduler's hook handlers in plain C: the same logic and layout, to compare costs with. */
#ifndef _ZEM_BENCH_SCHED_FLOOR_H
#define _ZEM_BENCH_SCHED_FLOOR_H

#include <linux/types.h>

struct task_struct;

/* Both floors' switch; as zem's keys it is on at load. */
void floor_enable(bool on);

/* Called through pointers, with the arguments of the hooks. */
void floor_enrol(void *data, struct task_struct *task, u64 runtime);
void floor_dequeued(void *data, struct task_struct *task, u64 delay);
void floor_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay);
void floor_depart(void *data, struct task_struct *task, u64 runtime);
void floor_d_state(void *data, struct task_struct *task, u64 duration);
void floor_irqtime(void *data, u64 delta);

#endif /* _ZEM_BENCH_SCHED_FLOOR_H */
