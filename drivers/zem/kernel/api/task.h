/* SPDX-License-Identifier: GPL-2.0 */
/* Tasks: <linux/sched.h>, <linux/sched/task.h>, <linux/cred.h>. */
#ifndef _ZEM_KERNEL_API_TASK_H
#define _ZEM_KERNEL_API_TASK_H

#include "types.h"

ZEM_API_BEGIN

struct task_struct;

/* Fields of a task, copied together. */
struct task_view {
	int pid;
	int tgid;
	unsigned int uid; /* of its credentials, in the initial namespace */
	char comm[16];
};

/* Context: process; the caller holds a reference. */
void helper_task_view(struct task_struct *task, struct task_view *view);

/* Return: the running task. Context: any. */
struct task_struct *helper_current(void);

/* Context: any. */
bool helper_task_in_iowait(const struct task_struct *task);

/* Return: ns at which the task was created, which identifies it together with its pid. */
u64 helper_task_start_time(const struct task_struct *task);

/* Context: any except hard interrupt. */
void helper_task_comm(struct task_struct *task, char comm[16]);

/*
 * Walks over tasks. The list of processes begins and ends with the initial task. The threads of a
 * group begin with the leader and end with NULL. helper_find_task() returns NULL if no task has the
 * pid in the initial namespace. Locking: caller holds rcu_read_lock() during the whole walk.
 */
struct task_struct *helper_initial_task(void);
struct task_struct *helper_next_process(const struct task_struct *process);
struct task_struct *helper_first_thread(const struct task_struct *process);
struct task_struct *helper_next_thread(struct task_struct *thread);
struct task_struct *helper_find_task(int pid);

/*
 * Return: the task with the pid in the initial namespace, if it waits for IO, else NULL. Context:
 * any. Locking: caller holds rcu_read_lock() as long as it uses the task.
 */
struct task_struct *helper_find_task_in_iowait(int pid);

/* The count saturates. Context: any. */
void helper_get_task_struct(struct task_struct *task);
/* Frees the task with the last reference. Context: not under a run-queue lock. */
void helper_put_task_struct(struct task_struct *task);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TASK_H */
