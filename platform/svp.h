/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Which tasks are important ("SVP"), on a stock kernel by rule: those pinned by process id, and
 * those in the cpu cgroup "top-app". Each is announced on its hook when it becomes one.
 */
#ifndef _ZEM_PLATFORM_SVP_H
#define _ZEM_PLATFORM_SVP_H

struct task_record;
struct task_struct;

/* Finds out anew whether the record's task is in "top-app". By an RCU reader, process context. */
void svp_classify(struct task_record *record);

/* Raises android_vh_rs_warn_set_svp_task, whatever the task is. Not under a run-queue lock. */
void svp_announce(struct task_struct *task);

/* That hook's first listener comes, or its last goes: called under the tracepoints' lock. */
int svp_listener_attached(void);
void svp_listener_detached(void);

#endif /* _ZEM_PLATFORM_SVP_H */
