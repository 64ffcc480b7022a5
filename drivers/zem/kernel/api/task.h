/* SPDX-License-Identifier: GPL-2.0 */
/* Tasks: <linux/sched.h>, <linux/sched/task.h>, <linux/cred.h>. */
#ifndef _ZEM_KERNEL_API_TASK_H
#define _ZEM_KERNEL_API_TASK_H

#include "types.h"

ZEM_API_BEGIN

struct task_struct;

/* What the collectors ask of a task, read at one go. */
struct task_view {
	int pid;
	int tgid;
	unsigned int uid; /* of its credentials, in the initial namespace */
	char comm[16];
};

/* Process context; the caller holds a reference. */
void helper_task_view(struct task_struct *task, struct task_view *view);

/* Any context. */
bool helper_task_in_iowait(const struct task_struct *task);

/* Any context: ns at which the task was made, no two alike but by chance. */
u64 helper_task_start_time(const struct task_struct *task);

/* Any context but a hard interrupt. */
void helper_task_comm(struct task_struct *task, char comm[16]);

/*
 * Walks, all under one rcu_read_lock(). The list of processes begins and ends with the initial
 * task; a group's threads begin with the leader, and NULL ends them. Return of the search: NULL
 * when no task has the pid, in the initial namespace.
 */
struct task_struct *helper_initial_task(void);
struct task_struct *helper_next_process(const struct task_struct *process);
struct task_struct *helper_first_thread(const struct task_struct *process);
struct task_struct *helper_next_thread(struct task_struct *thread);
struct task_struct *helper_find_task(int pid);

/* Any context; the count saturates. */
void helper_get_task_struct(struct task_struct *task);
/* Not under a run-queue lock: the last one frees the task. */
void helper_put_task_struct(struct task_struct *task);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TASK_H */
