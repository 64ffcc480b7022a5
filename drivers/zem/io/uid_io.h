/* SPDX-License-Identifier: GPL-2.0 */
/*
 * IO by UID, separately for foreground and background. User space sets the states of UIDs, and
 * forgets UIDs, through /proc/zem_procstat.
 */
#pragma once

#include "kernel/api/types.h"

struct kiocb;
struct task_struct;

namespace zem {

/* Return: 0, or -ENOMEM without the files. Context: may sleep. */
int zem_proc_uid_sys_stats_init();
/* Forgets all UIDs. The files and hooks stay. */
void zem_proc_uid_sys_stats_exit();

/*
 * Return: UidState; kBackground for root and unknown UIDs.
 * Context: any. Locking: caller holds rcu_read_lock(), as every hook does.
 */
[[nodiscard]] u32 get_uid_state(u32 uid);

/*
 * Counts a bio for the current task's UID. Context: any, without a run-queue lock.
 * Locking: caller holds rcu_read_lock(), as every hook does.
 * Return: the state before this bio, also for a new UID.
 */
[[nodiscard]] u32 record_bio_count();

/* Handlers of reads and writes. @task is the task that the hook names; negative @bytes: an error.
 */
void task_rchar(void *, kiocb *iocb, task_struct *task, s64 bytes);
void task_wchar(void *, kiocb *iocb, task_struct *task, s64 bytes);

} /* namespace zem */
