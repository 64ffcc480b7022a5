/* SPDX-License-Identifier: GPL-2.0 */
/* Who of the IO handlers' tasks has counters to be added to. By an RCU reader. */
#pragma once

#include "sched/task_record.h"

namespace zem {

/* Any context. Return: whether a task is important now; false for no task. */
[[nodiscard]] inline bool is_svp(task_struct *task)
{
	return task && is_odd(test_task_svp(task));
}

/*
 * Of a task that is important now. Return: its record if it is important by its own standing, is
 * marked so and has counters; or null.
 */
[[nodiscard]] inline task_ext *record_of_svp(task_struct *task)
{
	task_ext *record = record_of(task);
	if (!record || !__atomic_load_n(&record->svp_marker, __ATOMIC_RELAXED) ||
	    !__atomic_load_n(&record->svp_stats, __ATOMIC_ACQUIRE))
		return nullptr;
	return is_odd(test_task_orig_svp(task)) ? record : nullptr;
}

/* Return: the same of any task, or of none. */
[[nodiscard]] inline task_ext *record_of_counted(task_struct *task)
{
	return is_svp(task) ? record_of_svp(task) : nullptr;
}

} /* namespace zem */
