/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Which tasks are important ("SVP"). On a stock kernel these are the tasks that are pinned by
 * process id and the tasks in the cpu cgroup "top-app". A task is announced on its hook when it
 * becomes SVP.
 */
#ifndef _ZEM_PLATFORM_SVP_H
#define _ZEM_PLATFORM_SVP_H

#include <linux/types.h>

struct dentry;
struct module;
struct task_record;
struct task_struct;

int svp_init(struct dentry *directory);
void svp_exit(void);

/*
 * Checks whether the record's task is in "top-app".
 * Context: process. Caller holds rcu_read_lock().
 */
void svp_classify(struct task_record *record);

/* Makes a task SVP until it is unpinned. Caller holds rcu_read_lock(). */
void svp_pin(struct task_record *record, bool pinned);

/* Raises android_vh_rs_warn_set_svp_task for any task. Context: not under a run-queue lock. */
void svp_announce(struct task_struct *task);

/*
 * Announces the SVP tasks without a statistics block, if the module has a probe on that hook. It
 * has just been loaded, and these tasks became SVP before.
 */
void svp_announce_to(const struct module *module);

#endif /* _ZEM_PLATFORM_SVP_H */
