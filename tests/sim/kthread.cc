// SPDX-License-Identifier: GPL-2.0
/* Kernel threads. */
#include "kernel/api/kthread.h"

#include <cerrno>

#include "kernel.h"

using sim::Kernel;

struct task_struct *helper_kthread_create(int (*body)(void *), void *data, const char *name)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("kthread_create");
	if (kernel.faults.strikes("kthread_create"))
		return nullptr;
	task_struct *task = kernel.scheduler.create(name, nullptr);
	task->is_kthread = true;
	task->body = [&kernel, task, body, data] {
		if (task->should_stop.load(std::memory_order_relaxed))
			return -EINTR;
		const int result = body(data);
		/* Its task_struct would be freed, and a later kthread_stop() would access it. */
		if (!task->should_stop.load(std::memory_order_relaxed))
			kernel.problems.add("the thread " + task->name + " ended unasked");
		if (task->preempt_count != 0)
			kernel.problems.add("the thread " + task->name +
					    " ended with preemption off");
		if (task->rcu_nesting != 0)
			kernel.problems.add("the thread " + task->name +
					    " ended in an RCU read section");
		if (task->irqs_off != 0)
			kernel.problems.add("the thread " + task->name +
					    " ended with interrupts off");
		return result;
	};
	return task;
}

int wake_up_process(struct task_struct *task)
{
	Kernel &kernel = Kernel::get();
	kernel.scheduler.wake(*task);
	return 1;
}

int kthread_stop(struct task_struct *task)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("kthread_stop");
	task->should_stop.store(true, std::memory_order_relaxed);
	kernel.faults.strikes("kthread_stop");
	if (task->woken)
		return kernel.scheduler.reap(*task);
	kernel.scheduler.discard(*task);
	return -EINTR;
}

bool kthread_should_stop(void)
{
	const task_struct &task = sim::Scheduler::current();
	if (!task.is_kthread)
		Kernel::get().problems.add("kthread_should_stop in " + task.name);
	return task.should_stop.load(std::memory_order_relaxed);
}
