// SPDX-License-Identifier: GPL-2.0
/*
 * "iowait": a sleeping task's mark of waiting for IO, by hand. The kernel counts the tasks that
 * went to sleep with it and comes to that count again when they wake, and only the task itself may
 * write that word of its record, at any time. So the mark is set on a task that is off its CPU and
 * kept from waking meanwhile, and taken off before it wakes.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/mutex.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/spinlock.h>
#include <linux/string.h>

#include <trace/events/sched.h>

#include "commands.h"
#include "kernel_probes.h"
#include "platform.h"
#include "task_records.h"

/* Guards the state of the probe, which is attached with the first mark. */
static DEFINE_MUTEX(probe_lock);
static bool watching;

/* Under the task's pi_lock, as every wake-up is until the task is woken. */
static void unmark(struct task_struct *task, struct task_record *record)
{
	if (record->iowait_marked)
		task->in_iowait = 0;
	record->iowait_marked = false;
}

static void on_waking(void *data, struct task_struct *task)
{
	struct task_record *record;

	/* No other task's pi_lock is held for one that wakes itself, and none is needed. */
	if (task == current)
		return;
	record = task_record_find(task);
	if (record)
		unmark(task, record);
}

static struct kernel_probe probes[] = {
	{.name = "sched_waking", .probe = on_waking},
};

static int watch(void)
{
	int error = 0;

	mutex_lock(&probe_lock);
	if (!watching)
		error = kernel_probes_attach(probes, ARRAY_SIZE(probes));
	if (!error)
		watching = true;
	mutex_unlock(&probe_lock);
	return error;
}

/*
 * Under its pi_lock. It has left its run queue and its CPU, in this order, and is not waking: so it
 * does not before the lock is released.
 */
static bool is_off(struct task_struct *task)
{
	unsigned int state = READ_ONCE(task->__state);

	return state && !(state & (TASK_WAKING | TASK_NEW)) && !smp_load_acquire(&task->on_rq) &&
	       !smp_load_acquire(&task->on_cpu);
}

static int mark(struct task_struct *task, bool on)
{
	struct task_record *record;
	unsigned long flags;
	int error = -ESRCH;

	rcu_read_lock();
	record = task_record_find(task);
	if (record) {
		raw_spin_lock_irqsave(&task->pi_lock, flags);
		error = is_off(task) ? 0 : -EBUSY;
		if (!error && !on)
			unmark(task, record);
		if (!error && on && !task->in_iowait) {
			task->in_iowait = 1;
			record->iowait_marked = true;
		}
		raw_spin_unlock_irqrestore(&task->pi_lock, flags);
	}
	rcu_read_unlock();
	return error;
}

/* PID on|off; -EBUSY for a task that does not sleep. */
static int iowait_run(char *text)
{
	static const char *const orders[] = {"on", "off"};
	struct task_struct *task;
	char *words[2];
	int order;
	int error;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	order = match_string(orders, ARRAY_SIZE(orders), words[1]);
	if (order < 0)
		return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);
	error = watch() ?: mark(task, order == 0);
	put_task_struct(task);
	return error;
}

static const struct command_file iowait = {.run = iowait_run};

int iowait_init(struct dentry *directory)
{
	check_trace_callback_type_sched_waking(on_waking);
	command_file_create("iowait", directory, &iowait);
	return 0;
}

static void unmark_left(struct task_record *record)
{
	struct task_struct *task = record->ext.task;

	raw_spin_lock(&task->pi_lock);
	unmark(task, record);
	raw_spin_unlock(&task->pi_lock);
}

/* What is left marked wakes while the probe is still there, or is not marked any more. */
void iowait_exit(void)
{
	if (!watching)
		return;
	task_records_visit(unmark_left);
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
}
