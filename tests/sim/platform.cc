// SPDX-License-Identifier: GPL-2.0
/* Tasks from creation to the last reference, and the platform's data about them. */
#include "platform.h"

#include <cstring>
#include <list>

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
constexpr int kExitZombie = 32;

/* ns between the creation of two tasks. */
constexpr u64 kForkTime = 1000;

/* test_task_svp() is also called without a task; its result must not matter. */
constexpr int kAnswerForNone = 1;

} /* namespace */

Platform::Platform(Kernel &kernel) : kernel_(kernel), list_(initial_)
{
	for (int *counter :
	     {&kzerod_zero_page_alloc_failed, &kzerod_zero_page_alloc_prezero,
	      &kzerod_zero_page_list_alloc_total, &kzerod_zero_page_list_breakdown_total,
	      &kzerod_zero_page_list_drain_total})
		*counter = 0;
	fill(initial_, {.pid = 0, .comm = "swapper/0"});
}

Platform::~Platform()
{
	end_tasks();
}

void Platform::fill(Task &task, const TaskOptions &options)
{
	task.name = options.comm;
	task.fields.pid = options.pid;
	task.fields.tgid = options.tgid ? options.tgid : options.pid;
	task.fields.uid = options.uid;
	strncpy(task.fields.comm, options.comm.c_str(), sizeof(task.fields.comm) - 1);
	task.fields.leader = options.leader ? options.leader : &task;
	task.fields.svp = options.svp;
	task.fields.orig_svp = options.orig_svp;
	task.storage->load_words = std::make_unique<u64[]>(PLATFORM_LOAD_WORDS);
	task.record.task = &task;
	task.record.node.next = TASK_EXT_UNLISTED;
	task.record.load_block = task.storage->load_words.get();
	task.fields.record = &task.record;
}

Task &Platform::make_task(const TaskOptions &options)
{
	auto *task = new Task;
	fill(*task, options);
	task->fields.start_time =
		options.start_time.value_or(last_start_time_.fetch_add(kForkTime) + kForkTime);
	list_.add(*task, static_cast<Task *>(options.leader));

	std::lock_guard guard(lock_);
	tasks_.insert(task);
	return *task;
}

void Platform::become_zombie(Task &task)
{
	task.fields.exit_state = kExitZombie;
}

void Platform::exit(Task &task)
{
	task.fields.exit_state = kExitDead;
	task.has_exited = true;
	list_.remove(task);
	{
		std::lock_guard guard(lock_);
		exited_.insert(&task);
	}
	put(task);
	free_records();
}

void Platform::free_records()
{
	std::list<TaskRecord *> doomed;
	{
		std::lock_guard guard(lock_);
		std::erase_if(exited_, [&](Task *task) {
			if (task->listed())
				return false;
			task->fields.record.store(nullptr);
			doomed.push_back(task->storage.release());
			return true;
		});
	}
	for (TaskRecord *record : doomed)
		kernel_.rcu.retire([this, record] { free(record); });
}

int Platform::references(const Task &task)
{
	return task.fields.references.load() - 1;
}

void Platform::set_package(Task &task, const std::string &package)
{
	std::lock_guard guard(task.lock);
	auto &copy =
		task.storage->packages.emplace_back(std::make_unique<char[]>(package.size() + 1));
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

void Platform::answer_starting(int *first, int *second, int *third) const
{
	if (says_nothing_of_starting_.load(std::memory_order_relaxed))
		return;
	*first = starting_first_.load(std::memory_order_relaxed);
	*second = starting_second_.load(std::memory_order_relaxed);
	*third = starting_uid();
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
		exited_.clear();
	}
	for (Task *task : left)
		if (!task->has_exited)
			list_.remove(*task);
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
	if (task->storage)
		free(task->storage.release());
	delete task;
}

void Platform::free(TaskRecord *record)
{
	if (record->ext.svp_stats && !kernel_.slab.free(record->ext.svp_stats))
		kernel_.problems.add("the stats of a task were not allocated");
	delete record;
}

void Platform::retire(Task &task)
{
	{
		std::lock_guard guard(lock_);
		if (task.listed())
			kernel_.problems.add("the task " + task.name +
					     " is freed while it is listed");
		tasks_.erase(&task);
		exited_.erase(&task);
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
	Kernel::get().rcu.expect_reader("the record of a task");
	return task->fields.record.load(std::memory_order_acquire);
}

int test_task_svp(struct task_struct *task)
{
	return task ? task->fields.svp.load(std::memory_order_relaxed) : sim::kAnswerForNone;
}

int test_task_orig_svp(struct task_struct *task)
{
	if (task)
		return task->fields.orig_svp.load(std::memory_order_relaxed);
	Kernel::get().problems.add("test_task_orig_svp of no task");
	return sim::kAnswerForNone;
}

void test_app_starting_simple(int *first, int *second, int *third)
{
	Kernel::get().platform.answer_starting(first, second, third);
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

bool helper_task_in_iowait(const struct task_struct *task)
{
	return task->fields.in_iowait.load(std::memory_order_relaxed);
}

u64 helper_task_start_time(const struct task_struct *task)
{
	return task->fields.start_time;
}

void helper_task_comm(struct task_struct *task, char comm[16])
{
	/* The function takes the task's lock, in process context with interrupts on. */
	if (sim::Scheduler::interrupts_off(sim::Scheduler::current()))
		Kernel::get().problems.add("get_task_comm with interrupts off");
	memcpy(comm, task->fields.comm, sizeof(task->fields.comm));
}

void helper_get_task_struct(struct task_struct *task)
{
	Kernel::get().faults.strikes("get_task_struct");
	Kernel::get().platform.get(*task);
}

void helper_put_task_struct(struct task_struct *task)
{
	Kernel::get().faults.strikes("put_task_struct");
	Kernel::get().platform.put(*task);
}
