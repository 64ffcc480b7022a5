/* SPDX-License-Identifier: GPL-2.0 */
/*
 * IO by UID, apart for apps in the foreground and in the background. User space tells which are
 * which, and which UIDs to forget, through /proc/zem_procstat.
 */
#pragma once

#include "kernel/api/types.h"
#include "uapi/linux/zem.h"

struct kiocb;
struct task_struct;

namespace zem {

/* May sleep. Return: 0, or -ENOMEM without the files. */
int zem_proc_uid_sys_stats_init();
/* Forgets all UIDs. The files stay, as the hooks do. */
void zem_proc_uid_sys_stats_exit();

/* Any context. Return: UidState of a UID; background of root, and of one that is not known. */
[[nodiscard]] u32 get_uid_state(u32 uid);

/*
 * Counts a bio for the current task's UID, any context but under a run-queue lock.
 * Return: the state as it was before, of a UID that is met for the first time too.
 */
[[nodiscard]] u32 record_bio_count();

/* Handlers of reads and writes: task is who the hook names, negative bytes are an error. */
void task_rchar(void *, kiocb *iocb, task_struct *task, s64 bytes);
void task_wchar(void *, kiocb *iocb, task_struct *task, s64 bytes);

/*
 * uid_top.cc: charges all UIDs and writes both top lists, of what happened since the call before.
 * Process context; may sleep; callers take turns.
 */
void kio_uid_io(zem_kio &kioind);

/* uid_control.cc */
[[nodiscard]] int uid_control_init();

/* uid_foreground.cc: user space has said that a UID is in a state. Any context. */
void note_foreground(u32 uid, u32 state);

} /* namespace zem */
