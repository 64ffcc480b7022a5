/* SPDX-License-Identifier: GPL-2.0 */
/* Control groups: <linux/cgroup.h>. Under rcu_read_lock(). */
#ifndef _ZEM_KERNEL_API_CGROUP_H
#define _ZEM_KERNEL_API_CGROUP_H

#include "types.h"

ZEM_API_BEGIN

struct cgroup_subsys_state;
struct task_struct;

/* Context: any. Return: the id of the task's css in the cpu controller; -1: it has none. */
int helper_task_cpu_css_id(struct task_struct *task);

/*
 * Copies the name of the css's group, cut to @size - 1 bytes. A rename frees the old name without a
 * grace period, so kernfs_rename_lock is held meanwhile: a spinning lock that is taken with
 * interrupts off throughout. Context: process or interrupt, not under a raw spinlock, which a
 * run-queue lock is. Return: false if the group has no name.
 */
bool helper_css_name(const struct cgroup_subsys_state *css, char *name, size_t size);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_CGROUP_H */
