/* SPDX-License-Identifier: GPL-2.0 */
/* IO waits of SVP tasks. */
#pragma once

#include "kernel/api/types.h"

struct task_struct;

namespace zem {

/* Handler of a task that was blocked for @delay ns. Context: run-queue lock held. */
void svp_iowait_record(void *, task_struct *task, u64 delay);

} /* namespace zem */
