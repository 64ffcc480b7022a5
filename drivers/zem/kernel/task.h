/* SPDX-License-Identifier: GPL-2.0 */
/* Fields of a task that hot paths read, at offsets determined by the build. Context: any. */
#pragma once

#include "api/task.h"
#include "kernel/data_race.h"
#include "kernel/layout.gen.h"

namespace zem {

/* layout.c compares these with the kernel's. */
inline constexpr int kExitDead = 16;
inline constexpr int kExitZombie = 32;

/*
 * The kernel changes these fields without marked accesses, under locks that zem does not take. Any
 * recent value is acceptable.
 */
template <typename T>
[[nodiscard]] inline T task_field(const task_struct *task, size_t offset)
{
	using Field [[gnu::may_alias]] = T;
	const DataRaceGuard guard;
	return __atomic_load_n(
		reinterpret_cast<const Field *>(reinterpret_cast<const char *>(task) + offset),
		__ATOMIC_RELAXED);
}

/* @task must not be null, here and below. */
[[nodiscard]] inline int task_pid_nr(const task_struct *task)
{
	return task_field<int>(task, KERNEL_TASK_PID);
}

/* Return: whether the task is a zombie or dead. */
[[nodiscard]] inline bool task_has_exited(const task_struct *task)
{
	const int state = task_field<int>(task, KERNEL_TASK_EXIT_STATE);
	return state == kExitDead || state == kExitZombie;
}

/* Locking: caller holds rcu_read_lock(). */
[[nodiscard]] inline task_struct *task_group_leader(const task_struct *task)
{
	return task_field<task_struct *>(task, KERNEL_TASK_GROUP_LEADER);
}

/* Return: ns on a CPU, as of the last tick or switch. */
[[nodiscard]] inline u64 task_sum_exec_runtime(const task_struct *task)
{
	return task_field<u64>(task, KERNEL_TASK_SUM_EXEC_RUNTIME);
}

} /* namespace zem */
