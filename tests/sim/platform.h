/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The module's platform: tasks and their records, important tasks, the starting app. The counters
 * of the zero-page daemon are plain variables of the contract. Any thread.
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

/* The platform's data of a task. Freed separately from the task: see Platform::free_records(). */
struct TaskRecord {
	task_ext ext{};
	std::unique_ptr<u64[]> load_words; /* PLATFORM_LOAD_WORDS of them */
	std::list<std::unique_ptr<char[]>> packages; /* old names may still be read */
};

/* A task created by the test, without a thread. Freed as in the kernel: see exit(). */
struct Task : task_struct {
	std::unique_ptr<TaskRecord> storage = std::make_unique<TaskRecord>(); /* null: freed */
	task_ext &record = storage->ext;
	bool has_exited = false;
	TaskIo io;

	std::mutex lock; /* guards the packages */

	/* Links of the lists. */
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
	task_struct *leader = nullptr; /* null: the task itself; otherwise a task of the test */
	int svp = 1;
	int orig_svp = 1;
	std::optional<u64> start_time{}; /* none: later than all earlier tasks */
};

class Platform {
public:
	explicit Platform(Kernel &kernel);
	~Platform();

	/* Creates a task with one reference, the kernel's. Valid until exit() and the last put. */
	[[nodiscard]] Task &make_task(const TaskOptions &options = {});
	/* The task has ended, but its parent has not waited for it. */
	static void become_zombie(Task &task);
	/*
	 * The task is dead and off the lists. The kernel's reference is put, and the task is freed
	 * after the last put. Its record may be freed earlier.
	 */
	void exit(Task &task);
	/*
	 * Frees the records of exited tasks that are not listed, after a grace period. A reference
	 * to a task does not keep its record.
	 */
	void free_records();
	/* Number of references besides the kernel's. */
	[[nodiscard]] static int references(const Task &task);

	/* Sets a copy of exactly @package's size, as the platform would at run time. */
	static void set_package(Task &task, const std::string &package);
	/* Returns the record's counters. Allocates them like the module if there are none. */
	[[nodiscard]] zem_svp_stats &stats(Task &task);
	/* Returns the record's load block, which every new task has. */
	[[nodiscard]] static u64 *load_block(Task &task) { return task.storage->load_words.get(); }
	/* Sets the result of platform_task_ext(): another record, null, or an error value. */
	static void set_record(Task &task, task_ext *record);

	void set_starting_uid(int uid) { starting_uid_.store(uid, std::memory_order_relaxed); }
	/* Sets the first two results of test_app_starting_simple(). */
	void set_starting(int first, int second)
	{
		starting_first_.store(first, std::memory_order_relaxed);
		starting_second_.store(second, std::memory_order_relaxed);
	}
	/* From now on test_app_starting_simple() writes no results. */
	void say_nothing_of_starting()
	{
		says_nothing_of_starting_.store(true, std::memory_order_relaxed);
	}
	void answer_starting(int *first, int *second, int *third) const;
	[[nodiscard]] int starting_uid() const
	{
		return starting_uid_.load(std::memory_order_relaxed);
	}

	/* Number of tasks that were not freed, without the initial task. */
	[[nodiscard]] size_t tasks();
	/* Has pid 0, and a record that must not be used. */
	[[nodiscard]] Task &initial_task() { return initial_; }
	[[nodiscard]] Task *find_task(int pid) { return list_.find(pid); }

	/* Ends all tasks, and notes a problem for each that the module still references. */
	void end_tasks();

	/* For the kernel's functions. */
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
	std::set<Task *> exited_; /* tasks of these whose records were not freed */
};

} /* namespace sim */
