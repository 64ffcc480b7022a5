/* SPDX-License-Identifier: GPL-2.0 */
/* Control groups: <linux/cgroup.h>. Locking: caller holds rcu_read_lock(). */
#ifndef _ZEM_KERNEL_API_CGROUP_H
#define _ZEM_KERNEL_API_CGROUP_H

#include "types.h"

ZEM_API_BEGIN

struct cgroup_subsys_state;
struct task_struct;

/* Return: the id of the task's css in the cpu controller; -1 without one. Context: any. */
int helper_task_cpu_css_id(struct task_struct *task);

/*
 * Copies the name of the css's group, cut to @size - 1 bytes. Takes kernfs_rename_lock, because a
 * rename frees the old name without a grace period. That lock is a spinlock that is always taken
 * with interrupts off.
 *
 * Context: process or interrupt, but not under a raw spinlock such as a run-queue lock.
 * Return: false if the group has no name.
 */
bool helper_css_name(const struct cgroup_subsys_state *css, char *name, size_t size);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_CGROUP_H */
