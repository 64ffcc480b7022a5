// SPDX-License-Identifier: GPL-2.0
/* Decides which tasks are SVP, answers zem's question for it, and announces new ones. */
#include <linux/cgroup.h>
#include <linux/err.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/rcupdate.h>
#include <linux/sched/signal.h>
#include <linux/sched/task.h>
#include <linux/spinlock.h>
#include <linux/string.h>
#include <linux/workqueue.h>

#include <trace/events/cgroup.h>

#include "commands.h"
#include "hooks.h"
#include "kernel_probes.h"
#include "platform.h"
#include "svp.h"
#include "task_records.h"

/* How long a listener's registration may take before it is looked for again. */
#define LISTENER_DELAY (HZ / 50)

static const char top_app[] = "/top-app";

/* Orders a task's moves between cgroups, its birth and its pinning, each with the outcome. */
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

/* Nothing lends its standing to another task here, as a lock's owner is lent it on a device. */
int test_task_orig_svp(struct task_struct *task)
{
	return test_task_svp(task);
}
EXPORT_SYMBOL_GPL(test_task_orig_svp);

/* By an RCU reader. A path that is cut to the buffer is longer than the one that is looked for. */
static bool is_in_top_app(struct task_struct *task)
{
	char path[sizeof(top_app) + 1] = "";

	cgroup_path(task_css(task, cpu_cgrp_id)->cgroup, path, sizeof(path));
	return !strcmp(path, top_app);
}

/* Under svp_lock. Return: whether the task became SVP. */
static bool update(struct task_record *record)
{
	bool svp = record->pinned || record->in_top_app;
	bool became = svp && !record->svp;

	WRITE_ONCE(record->svp, svp);
	return became;
}

/* One at a time: a listener may have something to make for the task once. */
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

static void classify_task(struct task_struct *task)
{
	struct task_record *record = task_record_find(task);

	/* A task without one is on its way to it, and is classified when it is made. */
	if (record)
		svp_classify(record);
}

/* In the context of who moved the tasks, with interrupts off. */
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

static void announce_all(struct work_struct *work);
static DECLARE_DELAYED_WORK(announce_work, announce_all);
static bool has_listener;

int svp_listener_attached(void)
{
	WRITE_ONCE(has_listener, true);
	schedule_delayed_work(&announce_work, LISTENER_DELAY);
	return 0;
}

void svp_listener_detached(void)
{
	WRITE_ONCE(has_listener, false);
}

/* Tells a new listener of the tasks that became SVP before it was there. */
static void announce_all(struct work_struct *work)
{
	struct task_struct *process, *task;

	if (!READ_ONCE(has_listener))
		return;
	if (!trace_android_vh_rs_warn_set_svp_task_enabled()) {
		schedule_delayed_work(&announce_work, LISTENER_DELAY);
		return;
	}
	rcu_read_lock();
	for_each_process_thread(process, task) {
		struct task_record *record = task_record_find(task);

		if (record && READ_ONCE(record->svp) && !READ_ONCE(record->ext.svp_stats))
			svp_announce(task);
	}
	rcu_read_unlock();
}

static void pin(struct task_record *record, bool pinned)
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

static void apply(struct task_record *record, int word)
{
	if (word < 2)
		pin(record, word == 0);
	else
		WRITE_ONCE(record->ext.svp_marker, word == 2);
}

/* PID on|off|marked|unmarked */
static int svp_run(char *text)
{
	static const char *const orders[] = {"on", "off", "marked", "unmarked"};
	struct task_record *record;
	struct task_struct *task;
	char *words[2];
	int order;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	order = match_string(orders, ARRAY_SIZE(orders), words[1]);
	if (order < 0)
		return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);

	rcu_read_lock();
	record = task_record_find(task);
	if (record)
		apply(record, order);
	rcu_read_unlock();
	put_task_struct(task);
	return record ? 0 : -ESRCH;
}

static const struct command_file svp_file = {.run = svp_run};

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
	/* Those that moved after their record was made, and before this began to watch. */
	rcu_read_lock();
	for_each_process_thread(process, task)
		classify_task(task);
	rcu_read_unlock();
	command_file_create("svp", directory, &svp_file);
	return 0;
}

void svp_exit(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
	/* Its hook has no listener any more, or this module would not be going. */
	cancel_delayed_work_sync(&announce_work);
}
