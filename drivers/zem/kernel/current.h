/* SPDX-License-Identifier: GPL-2.0 */
/* The running task, its CPU and its user, at offsets determined by the build. Context: any. */
#pragma once

#include "api/task.h"
#include "kernel/layout.gen.h"
#include "task.h"

namespace zem {

#if defined(__aarch64__) && defined(ZEM_KERNEL)
/* The register changes only with the task, so the compiler may reuse what it has read. */
[[nodiscard, gnu::always_inline]] inline const task_struct *current_task()
{
	const task_struct *task;
	asm("mrs %0, sp_el0" : "=r"(task));
	return task;
}
#else
[[nodiscard]] inline const task_struct *current_task()
{
	return helper_current();
}
#endif

/* Return: the number of the CPU; of an earlier one if the caller has migrated since. */
[[nodiscard]] inline u32 current_cpu()
{
	return task_field<u32>(current_task(), KERNEL_TASK_CPU);
}

/* Return: the user id of the task's credentials; -1 for a task without. */
[[nodiscard]] inline s64 current_uid()
{
	const auto *cred = task_field<const char *>(current_task(), KERNEL_TASK_CRED);
	if (!cred) [[unlikely]]
		return -1;
	u32 uid;
	__builtin_memcpy(&uid, cred + KERNEL_CRED_UID, sizeof(uid));
	return uid;
}

} /* namespace zem */
