/* SPDX-License-Identifier: GPL-2.0 */
/* Finds the record of the task that a command names. May sleep. */
#ifndef _ZEM_PLATFORM_RECORDS_H
#define _ZEM_PLATFORM_RECORDS_H

struct task_record;

/*
 * Calls @act with the task's record, under rcu_read_lock() and with a reference on the task.
 * Return: the result of @act; -EINVAL if @pid is no number, -ESRCH if the task has no record.
 */
int with_record(const char *pid, int (*act)(struct task_record *record, void *argument),
		void *argument);

#endif /* _ZEM_PLATFORM_RECORDS_H */
