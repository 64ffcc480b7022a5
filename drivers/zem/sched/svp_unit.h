/* SPDX-License-Identifier: GPL-2.0 */
/* The conversion of a task's counters to a record. Context: process. */
#pragma once

#include "kernel/function_ref.h"
#include "uapi/linux/zem.h"

struct task_ext;

namespace zem {

/* Receives a task's record; may be null. Called under svp_metrics_lock; may sleep. */
using SvpEmit = FunctionRef<void(const zem_svp &unit)>;

/*
 * Fills @unit, which is zero before and afterwards, passes it to @emit and zeroes the task's
 * counters. Does nothing for a task without counters.
 */
void take_svp_unit(task_ext &record, zem_svp &unit, SvpEmit emit);

} /* namespace zem */
