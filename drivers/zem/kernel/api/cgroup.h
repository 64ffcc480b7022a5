/* SPDX-License-Identifier: GPL-2.0 */
/* Control groups: <linux/cgroup.h>. Under rcu_read_lock(), any context. */
#ifndef _ZEM_KERNEL_API_CGROUP_H
#define _ZEM_KERNEL_API_CGROUP_H

#include "types.h"

ZEM_API_BEGIN

struct cgroup_subsys_state;
struct task_struct;

/* Return: the id of the task's css in the cpu controller; -1: it has none. */
int helper_task_cpu_css_id(struct task_struct *task);

/* Return: the name of the group that has the css, or NULL; valid in the same RCU read section. */
const char *helper_css_name(const struct cgroup_subsys_state *css);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_CGROUP_H */
