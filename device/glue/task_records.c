// SPDX-License-Identifier: GPL-2.0
/*
 * Creates a record for each task, and frees it after the task, when neither a reader nor zem's list
 * can still have it. ADAPT if the device's kernel has such a record already: return it from
 * task_record_find(), and put struct task_ext into it.
 */
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/rcupdate.h>
#include <linux/sched/clock.h>
#include <linux/sched/signal.h>
#include <linux/sched/task.h>
#include <linux/slab.h>
#include <linux/spinlock.h>
#include <linux/workqueue.h>

#include <trace/events/sched.h>

#include "glue.h"
#include "kernel_events.h"
#include "stock_hooks.h"
#include "vendor.h"

/* Protects the lists, and makes a task get one record. */
static DEFINE_SPINLOCK(records_lock);
static LIST_HEAD(living);
static LIST_HEAD(released);

static void sweep(struct work_struct *work);
static DECLARE_DELAYED_WORK(sweep_work, sweep);

static struct task_record *record_of(struct task_ext *ext)
{
	return ext ? container_of(ext, struct task_record, ext) : NULL;
}

struct task_record *task_record_find(struct task_struct *task)
{
	return record_of(vendor_task_record(task));
}

static void free_record(struct task_record *record)
{
	list_del(&record->list);
	kfree(record->ext.svp_stats);
	kfree(record);
}

static bool insert(struct task_record *record, struct task_struct *task)
{
	unsigned long flags;
	bool is_new;

	spin_lock_irqsave(&records_lock, flags);
	is_new = !vendor_task_record(task) && !vendor_set_task_record(task, &record->ext);
	if (is_new)
		list_add(&record->list, &living);
	spin_unlock_irqrestore(&records_lock, flags);
	return is_new;
}

/* Caller holds rcu_read_lock(), or the task cannot end. Without memory the task has no record. */
static void create_record(struct task_struct *task)
{
	struct task_record *record = kzalloc(sizeof(*record), GFP_ATOMIC | __GFP_NOWARN);

	if (!record)
		return;
	record->ext.task = task;
	/* Not NULL: zem's load record would keep the name of another task. */
	record->ext.package_name = "";
	record->ext.node.next = TASK_EXT_UNLISTED;
	record->ext.load_block = record->load_block;
	/* ADAPT: set the marker of the tasks whose IO is counted. */
	record->ext.svp_marker = 1;
	for (int i = 0; i < ARRAY_SIZE(record->counted_until); i++)
		record->counted_until[i] = local_clock();
	if (!insert(record, task))
		kfree(record);
}

static void on_fork(void *data, struct task_struct *parent, struct task_struct *child)
{
	create_record(child);
	if (vendor_task_is_important(child))
		stock_task_is_important(child);
}

/* A task that has changed its priority before. */
static void on_exec(void *data, struct task_struct *task, pid_t old_pid,
		    struct linux_binprm *program)
{
	if (vendor_task_is_important(task))
		stock_task_is_important(task);
}

static void on_free(void *data, struct task_struct *task)
{
	struct task_record *record;
	unsigned long flags;

	spin_lock_irqsave(&records_lock, flags);
	record = task_record_find(task);
	if (record) {
		vendor_set_task_record(task, NULL);
		list_move(&record->list, &released);
	}
	spin_unlock_irqrestore(&records_lock, flags);
	if (record)
		schedule_delayed_work(&sweep_work, HZ);
}

/* A record that zem lists is freed by a later sweep. */
static void sweep(struct work_struct *work)
{
	struct task_record *record, *next;
	LIST_HEAD(unused);

	spin_lock_irq(&records_lock);
	list_splice_init(&released, &unused);
	spin_unlock_irq(&records_lock);

	synchronize_rcu();
	list_for_each_entry_safe(record, next, &unused, list)
		if (smp_load_acquire(&record->ext.node.next) == TASK_EXT_UNLISTED)
			free_record(record);
	if (list_empty(&unused))
		return;
	spin_lock_irq(&records_lock);
	list_splice(&unused, &released);
	spin_unlock_irq(&records_lock);
	schedule_delayed_work(&sweep_work, HZ);
}

/* A listed record holds a reference to its task. */
static void unlist(struct list_head *records)
{
	struct task_record *record;

	list_for_each_entry(record, records, list) {
		if (record->ext.node.next == TASK_EXT_UNLISTED)
			continue;
		record->ext.node.next = TASK_EXT_UNLISTED;
		put_task_struct(record->ext.task);
	}
}

void task_records_unlist(void)
{
	cancel_delayed_work_sync(&sweep_work);
	spin_lock_irq(&records_lock);
	unlist(&living);
	unlist(&released);
	spin_unlock_irq(&records_lock);
	schedule_delayed_work(&sweep_work, HZ);
}

static struct kernel_event events[] = {
	{.name = "sched_process_fork", .probe = on_fork},
	{.name = "sched_process_exec", .probe = on_exec},
	{.name = "sched_process_free", .probe = on_free},
};

int task_records_init(void)
{
	struct task_struct *process, *task;
	int error;

	check_trace_callback_type_sched_process_fork(on_fork);
	check_trace_callback_type_sched_process_exec(on_exec);
	check_trace_callback_type_sched_process_free(on_free);
	error = kernel_events_attach(events, ARRAY_SIZE(events));
	if (error)
		return error;
	rcu_read_lock();
	for_each_process_thread(process, task)
		create_record(task);
	rcu_read_unlock();
	return 0;
}

/* zem is not loaded any more, so no record is listed. */
void task_records_exit(void)
{
	struct task_record *record, *next;

	kernel_events_detach(events, ARRAY_SIZE(events));
	cancel_delayed_work_sync(&sweep_work);
	spin_lock_irq(&records_lock);
	list_for_each_entry(record, &living, list)
		vendor_set_task_record(record->ext.task, NULL);
	list_splice_init(&living, &released);
	spin_unlock_irq(&records_lock);

	synchronize_rcu();
	list_for_each_entry_safe(record, next, &released, list)
		free_record(record);
}
