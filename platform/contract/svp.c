// SPDX-License-Identifier: GPL-2.0
/* Decides which tasks are SVP, answers zem's question for it, and announces new ones. */
#include <linux/cgroup.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/rcupdate.h>
#include <linux/sched/signal.h>
#include <linux/spinlock.h>
#include <linux/string.h>

#include <trace/events/cgroup.h>

#include "common/kernel_probes.h"
#include "hooks.h"
#include "svp.h"
#include "task_records.h"

static const char top_app[] = "/top-app";

/* Serialises a task's moves between cgroups, its creation and its pinning. */
static DEFINE_SPINLOCK(svp_lock);

int test_task_svp(struct task_struct *task)
{
	struct task_record *record;
	int svp;

	rcu_read_lock();
	record = task_record_find(task);
	svp = record && READ_ONCE(record->svp);
	rcu_read_unlock();
	return svp;
}
EXPORT_SYMBOL_GPL(test_task_svp);

/* On a device a lock's owner inherits the standing of a waiter. Here no task inherits it. */
int test_task_orig_svp(struct task_struct *task)
{
	return test_task_svp(task);
}
EXPORT_SYMBOL_GPL(test_task_orig_svp);

/* Caller holds rcu_read_lock(). A path that is cut to the buffer is longer than top_app. */
static bool is_in_top_app(struct task_struct *task)
{
	char path[sizeof(top_app) + 1] = "";

	cgroup_path(task_css(task, cpu_cgrp_id)->cgroup, path, sizeof(path));
	return !strcmp(path, top_app);
}

/* Caller holds svp_lock. Return: whether the task became SVP. */
static bool update(struct task_record *record)
{
	bool svp = record->pinned || record->in_top_app;
	bool became = svp && !record->svp;

	WRITE_ONCE(record->svp, svp);
	return became;
}

/* The lock keeps two CPUs from announcing a task concurrently: a probe may allocate for it once. */
void svp_announce(struct task_struct *task)
{
	static DEFINE_SPINLOCK(announce_lock);
	unsigned long flags;

	if (!trace_android_vh_rs_warn_set_svp_task_enabled())
		return;
	spin_lock_irqsave(&announce_lock, flags);
	trace_android_vh_rs_warn_set_svp_task(task);
	spin_unlock_irqrestore(&announce_lock, flags);
}

void svp_classify(struct task_record *record)
{
	unsigned long flags;
	bool became;

	spin_lock_irqsave(&svp_lock, flags);
	record->in_top_app = is_in_top_app(record->ext.task);
	became = update(record);
	spin_unlock_irqrestore(&svp_lock, flags);
	if (became)
		svp_announce(record->ext.task);
}

void svp_pin(struct task_record *record, bool pinned)
{
	unsigned long flags;
	bool became;

	spin_lock_irqsave(&svp_lock, flags);
	WRITE_ONCE(record->pinned, pinned);
	became = update(record);
	spin_unlock_irqrestore(&svp_lock, flags);
	if (became)
		svp_announce(record->ext.task);
}

static void classify_task(struct task_struct *task)
{
	struct task_record *record = task_record_find(task);

	/* A task without a record is classified when its record is created. */
	if (record)
		svp_classify(record);
}

/* Context: the task that moves the others, with interrupts off. */
static void on_attach(void *data, struct cgroup *to, const char *path, struct task_struct *leader,
		      bool whole_group)
{
	struct task_struct *task;

	rcu_read_lock();
	if (!whole_group)
		classify_task(leader);
	else
		for_each_thread(leader, task)
			classify_task(task);
	rcu_read_unlock();
}

void svp_announce_to(const struct module *module)
{
	struct task_struct *process, *task;

	if (!hook_has_probe_of(&__tracepoint_android_vh_rs_warn_set_svp_task, module))
		return;
	rcu_read_lock();
	for_each_process_thread(process, task) {
		struct task_record *record = task_record_find(task);

		if (record && READ_ONCE(record->svp) && !READ_ONCE(record->ext.svp_stats))
			svp_announce(task);
	}
	rcu_read_unlock();
}

static struct kernel_probe probes[] = {
	{.name = "cgroup_attach_task", .probe = on_attach},
};

int svp_init(struct dentry *directory)
{
	struct task_struct *process, *task;
	int error;

	check_trace_callback_type_cgroup_attach_task(on_attach);
	error = kernel_probes_attach(probes, ARRAY_SIZE(probes));
	if (error)
		return error;
	/* Tasks may have moved between the creation of their record and the attachment above. */
	rcu_read_lock();
	for_each_process_thread(process, task)
		classify_task(task);
	rcu_read_unlock();
	return 0;
}

void svp_exit(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
}
