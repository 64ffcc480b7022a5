// SPDX-License-Identifier: GPL-2.0
/*
 * "iowait" sets and clears a sleeping task's mark of waiting for IO. The kernel counts the tasks
 * that go to sleep with the mark and those that wake with it, and only the task itself may write
 * that word of its task_struct. So the mark is set on a task that is off its CPU and cannot wake
 * meanwhile, and it is cleared before the task wakes.
 */
#include <linux/kernel.h>
#include <linux/mutex.h>
#include <linux/sched.h>
#include <linux/spinlock.h>
#include <linux/string.h>

#include <trace/events/sched.h>

#include "common/commands.h"
#include "common/kernel_probes.h"
#include "contract/task_records.h"
#include "parts.h"
#include "records.h"

/* Protects watching. The probe is attached by the first command. */
static DEFINE_MUTEX(probe_lock);
static bool watching;

/* Caller holds the task's pi_lock, as every wake-up does until the task is woken. */
static void unmark(struct task_struct *task, struct task_record *record)
{
	if (record->iowait_marked)
		task->in_iowait = 0;
	record->iowait_marked = false;
}

static void on_waking(void *data, struct task_struct *task)
{
	struct task_record *record;

	/* A task that wakes itself does not hold its pi_lock. It has no mark to clear. */
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
 * Caller holds the task's pi_lock. A task leaves its run queue first and then its CPU. If it has
 * left both and is not waking, it cannot wake before the lock is released.
 */
static bool is_off(struct task_struct *task)
{
	unsigned int state = READ_ONCE(task->__state);

	return state && !(state & (TASK_WAKING | TASK_NEW)) && !smp_load_acquire(&task->on_rq) &&
	       !smp_load_acquire(&task->on_cpu);
}

enum iowait_order { MARK, UNMARK };

static int give_order(struct task_record *record, void *order)
{
	struct task_struct *task = record->ext.task;
	bool on = *(int *)order == MARK;
	unsigned long flags;
	int error;

	raw_spin_lock_irqsave(&task->pi_lock, flags);
	error = is_off(task) ? 0 : -EBUSY;
	if (!error && !on)
		unmark(task, record);
	if (!error && on && !task->in_iowait) {
		task->in_iowait = 1;
		record->iowait_marked = true;
	}
	raw_spin_unlock_irqrestore(&task->pi_lock, flags);
	return error;
}

/* PID on|off. Return: -EBUSY if the task does not sleep. */
static int iowait_run(char *text)
{
	static const char *const orders[] = {[MARK] = "on", [UNMARK] = "off"};
	char *words[2];
	int order;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	order = match_string(orders, ARRAY_SIZE(orders), words[1]);
	if (order < 0)
		return -EINVAL;
	return watch() ?: with_record(words[0], give_order, &order);
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

/* Clears all marks before the probe is detached. */
void iowait_exit(void)
{
	if (!watching)
		return;
	task_records_visit(unmark_left);
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
}
