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
int helper_exit_state(const struct task_struct *task);

/* Under rcu_read_lock(). */
struct task_struct *helper_group_leader(const struct task_struct *task);

/* Any context; the count saturates. */
void helper_get_task_struct(struct task_struct *task);
/* Not under a run-queue lock: the last one frees the task. */
void helper_put_task_struct(struct task_struct *task);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TASK_H */
