/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The platform that the module stands on: tasks with their records, which tasks are important,
 * which app is starting. The zero-page daemon's counters are plain variables of the contract.
 * Any thread.
 */
#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "io_accounting.h"
#include "platform/contract.h"
#include "scheduler.h"
#include "task_list.h"
#include "uapi/linux/zem.h"

namespace sim {

class Kernel;

struct ThreadGroup {
	std::atomic<Task *> first_thread{nullptr};
};

/* What the platform keeps of a task. Freed apart from the task: see Platform::free_records(). */
struct TaskRecord {
	task_ext ext{};
	std::unique_ptr<u64[]> load_words; /* PLATFORM_LOAD_WORDS of them */
	std::list<std::unique_ptr<char[]>> packages; /* former ones may still be read */
};

/* A task that the test made, and that no thread stands behind. Freed as in a kernel: see exit(). */
struct Task : task_struct {
	std::unique_ptr<TaskRecord> storage = std::make_unique<TaskRecord>(); /* null: freed */
	task_ext &record = storage->ext;
	bool has_exited = false;
	TaskIo io;

	std::mutex lock; /* guards the packages */

	/* The lists' links. */
	std::atomic<Task *> next_process{nullptr}; /* null: a thread, or not on the list yet */
	std::atomic<Task *> next_thread{nullptr}; /* null: the last of its group */
	std::shared_ptr<ThreadGroup> group;

	[[nodiscard]] bool listed() const
	{
		return storage &&
		       __atomic_load_n(&record.node.next, __ATOMIC_ACQUIRE) != TASK_EXT_UNLISTED;
	}
};

struct TaskOptions {
	int pid = 1000;
	int tgid = 0; /* 0: as pid */
	std::string comm = "task";
	unsigned int uid = 10000;
	task_struct *leader = nullptr; /* null: itself; or else a task of the test's */
	int svp = 1;
	int orig_svp = 1;
	std::optional<u64> start_time{}; /* none: later than any before */
};

class Platform {
public:
	explicit Platform(Kernel &kernel);
	~Platform();

	/* With one reference, the kernel's own; valid until exit() and the last reference's end. */
	[[nodiscard]] Task &make_task(const TaskOptions &options = {});
	/* It has ended, but its parent does not know yet. */
	static void become_zombie(Task &task);
	/*
	 * Dead and off the lists: the kernel's reference is put, and the task is freed after the
	 * last one. Its record may be freed before.
	 */
	void exit(Task &task);
	/*
	 * Frees the records of the tasks that have exited and are not listed, a grace period later:
	 * a reference on a task does not keep its record.
	 */
	void free_records();
	/* References beside the kernel's own. */
	[[nodiscard]] static int references(const Task &task);

	/* @package: a copy of exactly its size, as the platform would change it at run time. */
	static void set_package(Task &task, const std::string &package);
	/* The record's counters, made as the module makes them if there are none. */
	[[nodiscard]] zem_svp_stats &stats(Task &task);
	/* The record's load block, which every task has when it is made. */
	[[nodiscard]] static u64 *load_block(Task &task) { return task.storage->load_words.get(); }
	/* What platform_task_ext() answers: another record, none, an error value. */
	static void set_record(Task &task, task_ext *record);

	void set_starting_uid(int uid) { starting_uid_.store(uid, std::memory_order_relaxed); }
	/* What else is answered with it: what the app starts with, and how. */
	void set_starting(int first, int second)
	{
		starting_first_.store(first, std::memory_order_relaxed);
		starting_second_.store(second, std::memory_order_relaxed);
	}
	/* From now on nothing is written where the answer is looked for. */
	void say_nothing_of_starting()
	{
		says_nothing_of_starting_.store(true, std::memory_order_relaxed);
	}
	void answer_starting(int *first, int *second, int *third) const;
	[[nodiscard]] int starting_uid() const
	{
		return starting_uid_.load(std::memory_order_relaxed);
	}

	/* Tasks that have not been freed, but for the initial one. */
	[[nodiscard]] size_t tasks();
	/* With pid 0, and a record that nobody should look at. */
	[[nodiscard]] Task &initial_task() { return initial_; }
	[[nodiscard]] Task *find_task(int pid) { return list_.find(pid); }

	/* Ends all tasks, and notes a problem for each that the module still holds. */
	void end_tasks();

	/* The kernel's side. */
	void get(task_struct &task);
	void put(task_struct &task);

private:
	static void fill(Task &task, const TaskOptions &options);
	void retire(Task &task);
	void free(Task *task);
	void free(TaskRecord *record);

	Kernel &kernel_;
	std::atomic<int> starting_uid_{-1};
	std::atomic<bool> says_nothing_of_starting_{false};
	std::atomic<int> starting_first_{1};
	std::atomic<int> starting_second_{2};
	std::atomic<u64> last_start_time_{0};
	Task initial_;
	TaskList list_;
	std::mutex lock_;
	std::set<Task *> tasks_;
	std::set<Task *> exited_; /* of those, the ones whose records have not been freed */
};

} /* namespace sim */
