/* SPDX-License-Identifier: GPL-2.0 */
/* The group of a task in the cpu controller. Context: any. Locking: caller holds rcu_read_lock().
 */
#pragma once

#include "api/cgroup.h"
#include "kernel/task.h"

namespace zem {

/* Return: the id of the task's css; -1 without one. */
[[nodiscard]] inline int task_cpu_css_id(task_struct *task)
{
#ifdef ZEM_KERNEL
	const auto *set = task_field<const char *>(task, KERNEL_TASK_CGROUPS);
	const char *css;
	int id;
	if (!set)
		return -1;
	__builtin_memcpy(&css, set + KERNEL_CSS_SET_CPU, sizeof(css));
	if (!css)
		return -1;
	__builtin_memcpy(&id, css + KERNEL_CSS_ID, sizeof(id));
	return id;
#else
	return helper_task_cpu_css_id(task);
#endif
}

} /* namespace zem */
