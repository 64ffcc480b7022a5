// SPDX-License-Identifier: GPL-2.0
/*
 * Creates a record for each task, from the kernel's events, and releases it when the task is freed.
 * The kernel creates some of its own threads without a fork event: their record is created by a
 * work item after they were woken for the first time.
 */
#include <linux/irq_work.h>
#include <linux/kernel.h>
#include <linux/rcupdate.h>
#include <linux/sched/signal.h>
#include <linux/workqueue.h>

#include <trace/events/sched.h>

#include "common/kernel_probes.h"
#include "svp.h"
#include "task_events.h"
#include "task_records.h"

static void on_fork(void *data, struct task_struct *parent, struct task_struct *child)
{
	struct task_record *record = task_record_create(child);

	if (record)
		svp_classify(record);
}

static void create_missing_records(struct work_struct *work)
{
	struct task_struct *process, *task;

	rcu_read_lock();
	for_each_process_thread(process, task)
		if (!task_record_find(task))
			on_fork(NULL, NULL, task);
	rcu_read_unlock();
}

static DECLARE_WORK(missing_work, create_missing_records);

static void queue_missing_work(struct irq_work *work)
{
	schedule_work(&missing_work);
}

static DEFINE_IRQ_WORK(missing_irq, queue_missing_work);

/* Context: under the run-queue lock. */
static void on_wakeup_new(void *data, struct task_struct *task)
{
	if (unlikely(!task_record_find(task)))
		irq_work_queue(&missing_irq);
}

static void on_free(void *data, struct task_struct *task)
{
	task_record_release(task);
}

static struct kernel_probe probes[] = {
	{.name = "sched_process_fork", .probe = on_fork},
	{.name = "sched_wakeup_new", .probe = on_wakeup_new},
	{.name = "sched_process_free", .probe = on_free},
};

int task_events_init(struct dentry *directory)
{
	int error;

	check_trace_callback_type_sched_process_fork(on_fork);
	check_trace_callback_type_sched_wakeup_new(on_wakeup_new);
	check_trace_callback_type_sched_process_free(on_free);

	error = kernel_probes_attach(probes, ARRAY_SIZE(probes));
	if (!error)
		create_missing_records(NULL);
	return error;
}

void task_events_exit(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
	irq_work_sync(&missing_irq);
	cancel_work_sync(&missing_work);
}
