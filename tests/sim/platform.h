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
#include <set>
#include <string>

#include "platform/contract.h"
#include "scheduler.h"
#include "uapi/linux/zem.h"

namespace sim {

class Kernel;

/* A task that the test made, and that no thread stands behind. Freed as in a kernel: see exit(). */
struct Task : task_struct {
	task_ext record{};
	bool has_exited = false;

	std::mutex lock;
	std::list<std::unique_ptr<char[]>> packages; /* former ones may still be read */

	[[nodiscard]] bool listed() const
	{
		return __atomic_load_n(&record.node.next, __ATOMIC_RELAXED) != TASK_EXT_UNLISTED;
	}
};

struct TaskOptions {
	int pid = 1000;
	int tgid = 0; /* 0: as pid */
	std::string comm = "task";
	unsigned int uid = 10000;
	task_struct *leader = nullptr; /* null: itself */
	int svp = 1;
	int orig_svp = 1;
};

class Platform {
public:
	explicit Platform(Kernel &kernel);
	~Platform();

	/* With one reference, the kernel's own; valid until exit() and the last reference's end. */
	[[nodiscard]] Task &make_task(const TaskOptions &options = {});
	/* Dead: the kernel's reference goes, and the task with its record after the last one. */
	void exit(Task &task);
	/* References beside the kernel's own. */
	[[nodiscard]] static int references(const Task &task);

	/* @package: a copy of exactly its size, as the platform would change it at run time. */
	static void set_package(Task &task, const std::string &package);
	/* The record's counters, made as the module makes them if there are none. */
	[[nodiscard]] zem_svp_stats &stats(Task &task);
	/* What platform_task_ext() answers: another record, none, an error value. */
	static void set_record(Task &task, task_ext *record);

	void set_starting_uid(int uid) { starting_uid_.store(uid, std::memory_order_relaxed); }
	[[nodiscard]] int starting_uid() const
	{
		return starting_uid_.load(std::memory_order_relaxed);
	}

	/* Tasks that have not been freed. */
	[[nodiscard]] size_t tasks();

	/* Ends all tasks, and notes a problem for each that the module still holds. */
	void end_tasks();

	/* The kernel's side. */
	void get(task_struct &task);
	void put(task_struct &task);

private:
	void retire(Task &task);
	void free(Task *task);

	Kernel &kernel_;
	std::atomic<int> starting_uid_{-1};
	std::mutex lock_;
	std::set<Task *> tasks_;
};

} /* namespace sim */
