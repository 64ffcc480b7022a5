// SPDX-License-Identifier: GPL-2.0
/* Fields and inline functions of <linux/sched.h> and related headers. */
#include <linux/cred.h>
#include <linux/pid.h>
#include <linux/pid_namespace.h>
#include <linux/rculist.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/signal.h>
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

struct task_struct *helper_current(void)
{
	return current;
}

/* The task updates the field without a marked access. */
bool helper_task_in_iowait(const struct task_struct *task)
{
	return data_race(!!task->in_iowait);
}

u64 helper_task_start_time(const struct task_struct *task)
{
	return task->start_boottime;
}

void helper_task_comm(struct task_struct *task, char comm[16])
{
	char(*name)[TASK_COMM_LEN] = (void *)comm;

	get_task_comm(*name, task);
}

struct task_struct *helper_initial_task(void)
{
	return &init_task;
}

struct task_struct *helper_next_process(const struct task_struct *process)
{
	return next_task(process);
}

struct task_struct *helper_first_thread(const struct task_struct *process)
{
	return list_first_or_null_rcu(&process->signal->thread_head, struct task_struct,
				      thread_node);
}

struct task_struct *helper_next_thread(struct task_struct *thread)
{
	return list_next_or_null_rcu(&thread->signal->thread_head, &thread->thread_node,
				     struct task_struct, thread_node);
}

struct task_struct *helper_find_task(int pid)
{
	return pid_task(find_pid_ns(pid, &init_pid_ns), PIDTYPE_PID);
}

/* A hook is a read section by its disabled preemption, which lockdep does not accept here. */
struct task_struct *helper_find_task_in_iowait(int pid)
{
	struct task_struct *task;

	rcu_read_lock();
	task = helper_find_task(pid);
	if (task && !helper_task_in_iowait(task))
		task = NULL;
	rcu_read_unlock();
	return task;
}

void helper_get_task_struct(struct task_struct *task)
{
	get_task_struct(task);
}

void helper_put_task_struct(struct task_struct *task)
{
	put_task_struct(task);
}
