// SPDX-License-Identifier: GPL-2.0
/* Tasks from their making to their last reference, and the platform's answers about them. */
#include "platform.h"

#include <cstring>

#include "kernel.h"
#include "kernel/api/task.h"

int kzerod_zero_page_alloc_failed;
int kzerod_zero_page_alloc_prezero;
int kzerod_zero_page_list_alloc_total;
int kzerod_zero_page_list_breakdown_total;
int kzerod_zero_page_list_drain_total;

namespace sim {

namespace {

constexpr int kExitDead = 16;

/* No task at all is asked about too; what it is answered must not matter. */
constexpr int kAnswerForNone = 1;

} /* namespace */

Platform::Platform(Kernel &kernel) : kernel_(kernel)
{
	for (int *counter :
	     {&kzerod_zero_page_alloc_failed, &kzerod_zero_page_alloc_prezero,
	      &kzerod_zero_page_list_alloc_total, &kzerod_zero_page_list_breakdown_total,
	      &kzerod_zero_page_list_drain_total})
		*counter = 0;
}

Platform::~Platform()
{
	end_tasks();
}

Task &Platform::make_task(const TaskOptions &options)
{
	auto *task = new Task;
	task->name = options.comm;
	task->fields.pid = options.pid;
	task->fields.tgid = options.tgid ? options.tgid : options.pid;
	task->fields.uid = options.uid;
	strncpy(task->fields.comm, options.comm.c_str(), sizeof(task->fields.comm) - 1);
	task->fields.leader = options.leader ? options.leader : task;
	task->fields.svp = options.svp;
	task->fields.orig_svp = options.orig_svp;
	task->record.task = task;
	task->record.node.next = TASK_EXT_UNLISTED;
	task->fields.record = &task->record;

	std::lock_guard guard(lock_);
	tasks_.insert(task);
	return *task;
}

void Platform::exit(Task &task)
{
	task.fields.exit_state = kExitDead;
	task.has_exited = true;
	put(task);
}

int Platform::references(const Task &task)
{
	return task.fields.references.load() - 1;
}

void Platform::set_package(Task &task, const std::string &package)
{
	std::lock_guard guard(task.lock);
	auto &copy = task.packages.emplace_back(std::make_unique<char[]>(package.size() + 1));
	memcpy(copy.get(), package.c_str(), package.size() + 1);
	__atomic_store_n(&task.record.package_name, copy.get(), __ATOMIC_RELEASE);
}

zem_svp_stats &Platform::stats(Task &task)
{
	zem_svp_stats *stats = __atomic_load_n(&task.record.svp_stats, __ATOMIC_ACQUIRE);
	if (!stats) {
		stats = static_cast<zem_svp_stats *>(kernel_.slab.allocate(sizeof(*stats)));
		__atomic_store_n(&task.record.svp_stats, stats, __ATOMIC_RELEASE);
	}
	return *stats;
}

void Platform::set_record(Task &task, task_ext *record)
{
	task.fields.record.store(record);
}

size_t Platform::tasks()
{
	std::lock_guard guard(lock_);
	return tasks_.size();
}

void Platform::end_tasks()
{
	std::set<Task *> left;
	{
		std::lock_guard guard(lock_);
		left.swap(tasks_);
	}
	for (Task *task : left) {
		const int own = task->has_exited ? 0 : 1;
		const int references = task->fields.references.load() - own;
		if (references != 0)
			kernel_.problems.add("the task " + task->name + " has " +
					     std::to_string(references) + " references left");
		if (task->listed())
			kernel_.problems.add("the task " + task->name + " is listed");
		free(task);
	}
}

void Platform::free(Task *task)
{
	if (task->record.svp_stats && !kernel_.slab.free(task->record.svp_stats))
		kernel_.problems.add("the stats of " + task->name + " were not allocated");
	delete task;
}

void Platform::retire(Task &task)
{
	if (task.listed())
		kernel_.problems.add("the task " + task.name + " is freed while it is listed");
	{
		std::lock_guard guard(lock_);
		tasks_.erase(&task);
	}
	kernel_.rcu.retire([this, doomed = &task] { free(doomed); });
}

void Platform::get(task_struct &task)
{
	if (task.fields.references.fetch_add(1, std::memory_order_relaxed) <= 0)
		kernel_.problems.add("get_task_struct of " + task.name + ", which is gone");
}

void Platform::put(task_struct &task)
{
	if (Scheduler::current().run_queue_locked)
		kernel_.problems.add("put_task_struct under a run-queue lock");
	if (task.fields.references.fetch_sub(1, std::memory_order_acq_rel) != 1)
		return;
	auto &made = static_cast<Task &>(task);
	if (made.has_exited)
		retire(made);
	else
		kernel_.problems.add("the task " + task.name + " lives but its last reference " +
				     "was put");
}

} /* namespace sim */

using sim::Kernel;

struct task_ext *platform_task_ext(struct task_struct *task)
{
	return task->fields.record.load(std::memory_order_acquire);
}

int test_task_svp(struct task_struct *task)
{
	return task ? task->fields.svp.load(std::memory_order_relaxed) : sim::kAnswerForNone;
}

int test_task_orig_svp(struct task_struct *task)
{
	return task ? task->fields.orig_svp.load(std::memory_order_relaxed) : sim::kAnswerForNone;
}

void test_app_starting_simple(int *first, int *second, int *third)
{
	*first = 1;
	*second = 2;
	*third = Kernel::get().platform.starting_uid();
}

void helper_task_view(struct task_struct *task, struct task_view *view)
{
	Kernel::get().might_sleep("get_task_comm");
	const sim::TaskFields &fields = task->fields;
	view->pid = fields.pid;
	view->tgid = fields.tgid;
	view->uid = fields.uid;
	memcpy(view->comm, fields.comm, sizeof(view->comm));
}

int helper_exit_state(const struct task_struct *task)
{
	return task->fields.exit_state.load(std::memory_order_relaxed);
}

struct task_struct *helper_group_leader(const struct task_struct *task)
{
	if (sim::Scheduler::current().rcu_nesting == 0)
		Kernel::get().problems.add("group_leader outside of rcu_read_lock");
	return task->fields.leader.load(std::memory_order_acquire);
}

void helper_get_task_struct(struct task_struct *task)
{
	Kernel::get().platform.get(*task);
}

void helper_put_task_struct(struct task_struct *task)
{
	Kernel::get().platform.put(*task);
}
