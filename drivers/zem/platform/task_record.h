/* SPDX-License-Identifier: GPL-2.0 */
/* The platform's record of a task. Context: any. */
#pragma once

#include "kernel/atomic.h"
#include "kernel/container_of.h"
#include "kernel/err.h"
#include "kernel/task.h"
#include "platform/contract.h"

namespace zem {

/* An odd result of the platform's predicates means true. */
[[nodiscard]] constexpr bool is_odd(int answer)
{
	return answer & 1;
}

/* Return: null for a null or idle task, and for a task without a record. */
[[nodiscard]] inline task_ext *record_of(task_struct *task)
{
	if (!task || !task_pid_nr(task))
		return nullptr;
	task_ext *record = platform_task_ext(task);
	return is_err(record) ? nullptr : record;
}

/*
 * Copies the package name. @name is not changed without a record or without a package.
 * Locking: caller holds rcu_read_lock().
 */
inline void copy_package_name(const task_ext *record, char (&name)[32])
{
	const char *package = record ? rcu_dereference(record->package_name) : nullptr;
	if (!package)
		return;
	size_t length = 0;
	while (length < sizeof(name) - 1 && package[length])
		length++;
	__builtin_memcpy(name, package, length);
	name[length] = '\0';
}

/* Return: whether @task is important now; false for null. Context: any. */
[[nodiscard]] inline bool is_svp(task_struct *task)
{
	return task && is_odd(test_task_svp(task));
}

/*
 * @task must be important now. Return: its record, if it is important by its own standing, is
 * marked, and has counters; otherwise null. Locking: caller holds rcu_read_lock().
 */
[[nodiscard]] inline task_ext *record_of_svp(task_struct *task)
{
	task_ext *record = record_of(task);
	if (!record || !read_once(record->svp_marker) || !smp_load_acquire(record->svp_stats))
		return nullptr;
	return is_odd(test_task_orig_svp(task)) ? record : nullptr;
}

/* As record_of_svp(), for any task or null. */
[[nodiscard]] inline task_ext *record_of_counted(task_struct *task)
{
	return is_svp(task) ? record_of_svp(task) : nullptr;
}

[[nodiscard]] inline task_ext &record_of_node(llist_node &node)
{
	return *container_of(&node, task_ext, node);
}

} /* namespace zem */
