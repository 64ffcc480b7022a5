/* SPDX-License-Identifier: GPL-2.0 */
/* Finds the SVP counters of a task. Locking: caller holds rcu_read_lock(). */
#pragma once

#include "kernel/atomic.h"
#include "platform/task_record.h"

namespace zem {

/* Return: whether @task is important now; false for null. Context: any. */
[[nodiscard]] inline bool is_svp(task_struct *task)
{
	return task && is_odd(test_task_svp(task));
}

/*
 * @task must be important now. Return: its record, if it is important by its own standing, is
 * marked, and has counters; otherwise null.
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

} /* namespace zem */
