// SPDX-License-Identifier: GPL-2.0
/* Looks up a task by its process id, and then its record. */
#include <linux/err.h>
#include <linux/rcupdate.h>
#include <linux/sched/task.h>

#include "common/commands.h"
#include "contract/task_records.h"
#include "records.h"

int with_record(const char *pid, int (*act)(struct task_record *record, void *argument),
		void *argument)
{
	struct task_struct *task = command_task(pid);
	struct task_record *record;
	int error = -ESRCH;

	if (IS_ERR(task))
		return PTR_ERR(task);
	rcu_read_lock();
	record = task_record_find(task);
	if (record)
		error = act(record, argument);
	rcu_read_unlock();
	put_task_struct(task);
	return error;
}
