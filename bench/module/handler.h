/* SPDX-License-Identifier: GPL-2.0 */
/* The scheduler's hook handlers in plain C: the same logic and layout, to compare costs with. */
#ifndef _ZEM_BENCH_HANDLER_H
#define _ZEM_BENCH_HANDLER_H

#include <linux/types.h>

struct task_struct;
struct tracepoint;

/* The @index-th probe of a hook, in the order in which zem attached them; NULL: there is none. */
void *probe_of(struct tracepoint *hook, int index);

/* Return: the task with a reference, or NULL. */
struct task_struct *get_task(int pid);

/* Both floors' switch; as zem's keys it is on at load. */
void floor_enable(bool on);

/* Called through pointers, with the arguments of the hooks. */
void floor_enrol(void *data, struct task_struct *task, u64 runtime);
void floor_dequeued(void *data, struct task_struct *task, u64 delay);
void floor_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay);
void floor_depart(void *data, struct task_struct *task, u64 runtime);
void floor_d_state(void *data, struct task_struct *task, u64 duration);
void floor_irqtime(void *data, u64 delta);

#endif /* _ZEM_BENCH_HANDLER_H */
