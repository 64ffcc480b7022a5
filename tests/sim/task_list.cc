// SPDX-License-Identifier: GPL-2.0
/* Lists of tasks with RCU readers. Writers are serialised; any thread may follow the links. */
#include "task_list.h"

#include <algorithm>

#include "kernel.h"
#include "kernel/api/task.h"

namespace sim {

namespace {

/* Returns the last link of the list that begins with @first and ends at @end. */
std::atomic<Task *> &last_link(std::atomic<Task *> &first, std::atomic<Task *> Task::*next,
			       const Task *end)
{
	std::atomic<Task *> *link = &first;
	for (Task *task; (task = link->load(std::memory_order_relaxed)) != end;)
		link = &(task->*next);
	return *link;
}

void unlink(std::atomic<Task *> &first, std::atomic<Task *> Task::*next, Task &task)
{
	std::atomic<Task *> &link = last_link(first, next, &task);
	link.store((task.*next).load(std::memory_order_relaxed), std::memory_order_release);
}

} /* namespace */

TaskList::TaskList(Task &initial) : initial_(initial)
{
	initial.next_process.store(&initial, std::memory_order_relaxed);
	initial.group = std::make_shared<ThreadGroup>();
	initial.group->first_thread.store(&initial, std::memory_order_relaxed);
}

void TaskList::add(Task &task, Task *leader)
{
	std::lock_guard guard(lock_);
	tasks_.push_back(&task);
	task.group = leader ? leader->group : std::make_shared<ThreadGroup>();
	last_link(task.group->first_thread, &Task::next_thread, nullptr)
		.store(&task, std::memory_order_release);
	if (leader)
		return;
	task.next_process.store(&initial_, std::memory_order_relaxed);
	last_link(initial_.next_process, &Task::next_process, &initial_)
		.store(&task, std::memory_order_release);
}

void TaskList::remove(Task &task)
{
	std::lock_guard guard(lock_);
	std::erase(tasks_, &task);
	unlink(task.group->first_thread, &Task::next_thread, task);
	if (task.next_process.load(std::memory_order_relaxed))
		unlink(initial_.next_process, &Task::next_process, task);
}

Task *TaskList::find(int pid)
{
	std::lock_guard guard(lock_);
	const auto found = std::ranges::find_if(tasks_, [pid](const Task *task) {
		return task->fields.pid == pid;
	});
	return found == tasks_.end() ? nullptr : *found;
}

} /* namespace sim */

using sim::Kernel;
using sim::Task;

namespace {

const Task &made(const struct task_struct *task)
{
	return *static_cast<const Task *>(task);
}

Kernel &kernel_of_reader(const char *what)
{
	Kernel &kernel = Kernel::get();
	kernel.rcu.expect_reader(what);
	return kernel;
}

} /* namespace */

struct task_struct *helper_current(void)
{
	return &sim::Scheduler::current();
}

struct task_struct *helper_initial_task(void)
{
	return &kernel_of_reader("a walk over tasks").platform.initial_task();
}

struct task_struct *helper_next_process(const struct task_struct *process)
{
	Kernel &kernel = kernel_of_reader("next_task");
	kernel.faults.strikes("next_task");
	Task *next = made(process).next_process.load(std::memory_order_acquire);
	if (next)
		return next;
	kernel.problems.add("next_task of " + process->name + ", which is no process");
	return &kernel.platform.initial_task();
}

struct task_struct *helper_first_thread(const struct task_struct *process)
{
	static_cast<void>(kernel_of_reader("the first thread"));
	return made(process).group->first_thread.load(std::memory_order_acquire);
}

struct task_struct *helper_next_thread(struct task_struct *thread)
{
	Kernel &kernel = kernel_of_reader("the next thread");
	kernel.faults.strikes("next_thread");
	return made(thread).next_thread.load(std::memory_order_acquire);
}

struct task_struct *helper_find_task(int pid)
{
	Kernel &kernel = kernel_of_reader("find_task");
	kernel.faults.strikes("find_task");
	return kernel.platform.find_task(pid);
}

struct task_struct *helper_find_task_in_iowait(int pid)
{
	struct task_struct *task = helper_find_task(pid);
	return task && helper_task_in_iowait(task) ? task : nullptr;
}
