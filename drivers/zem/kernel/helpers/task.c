// SPDX-License-Identifier: GPL-2.0
/* Fields and inline functions of <linux/sched.h> and its relatives. */
#include <linux/cred.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/uidgid.h>

#include "../api/task.h"

void helper_task_view(struct task_struct *task, struct task_view *view)
{
	BUILD_BUG_ON(sizeof(view->comm) != TASK_COMM_LEN);

	view->pid = task->pid;
	view->tgid = task->tgid;
	view->uid = __kuid_val(task_uid(task));
	get_task_comm(view->comm, task);
}

int helper_exit_state(const struct task_struct *task)
{
	return READ_ONCE(task->exit_state);
}

struct task_struct *helper_group_leader(const struct task_struct *task)
{
	return READ_ONCE(task->group_leader);
}

void helper_get_task_struct(struct task_struct *task)
{
	get_task_struct(task);
}

void helper_put_task_struct(struct task_struct *task)
{
	put_task_struct(task);
}
