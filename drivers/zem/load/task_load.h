/* SPDX-License-Identifier: GPL-2.0 */
/* The capacity that each process or thread uses. Context: process. */
#pragma once

#include "core/common/setter.h"
#include "kernel/function_ref.h"
#include "uapi/linux/zem.h"

struct task_struct;

namespace zem {

/*
 * Samples a task, which may be null, and consumes its values. If a value is not 0, passes the
 * record to @emit, which may be null and must not sleep. The usage is the average over @window ns:
 * each walk keeps its own window, because others may close windows meanwhile. Locking: caller holds
 * rcu_read_lock().
 */
void get_task_load_metrics(task_struct *task, u64 window,
			   FunctionRef<void(const zem_load &unit)> emit);

/*
 * Uploads a record for each active task through @set, which may be null, for the window that
 * cpu_metrics_info_upload() closed.
 */
void load_metrics_info_upload(Setter set);

} /* namespace zem */
