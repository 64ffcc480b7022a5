/* SPDX-License-Identifier: GPL-2.0 */
/* Fields of a task that hot paths read, at the places that the build found them. Any context. */
#pragma once

#include "api/task.h"
#include "kernel/layout.gen.h"

namespace zem {

/* Not null. */
[[nodiscard]] inline int task_pid(const task_struct *task)
{
	int pid;
	__builtin_memcpy(&pid, reinterpret_cast<const char *>(task) + KERNEL_TASK_PID, sizeof(pid));
	return pid;
}

} /* namespace zem */
