/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The tasks of the system: for (task_struct *process : Processes()).
 * Context: any. Locking: caller holds rcu_read_lock().
 */
#pragma once

#include "api/task.h"

namespace zem {

/* The leader of every process except the initial task, oldest first. */
class Processes {
public:
	class Iterator {
	public:
		explicit Iterator(task_struct *process) : process_(process) {}

		task_struct *operator*() const { return process_; }

		Iterator &operator++()
		{
			process_ = helper_next_process(process_);
			return *this;
		}

		bool operator!=(const Iterator &other) const { return process_ != other.process_; }

	private:
		task_struct *process_;
	};

	[[nodiscard]] Iterator begin() const { return Iterator(helper_next_process(initial_)); }

	[[nodiscard]] Iterator end() const { return Iterator(initial_); }

private:
	task_struct *const initial_ = helper_initial_task();
};

/* The threads of a process, its leader first. */
class Threads {
public:
	explicit Threads(task_struct *process) : process_(process) {}

	class Iterator {
	public:
		explicit Iterator(task_struct *thread) : thread_(thread) {}

		task_struct *operator*() const { return thread_; }

		Iterator &operator++()
		{
			thread_ = helper_next_thread(thread_);
			return *this;
		}

		bool operator!=(const Iterator &other) const { return thread_ != other.thread_; }

	private:
		task_struct *thread_;
	};

	[[nodiscard]] Iterator begin() const { return Iterator(helper_first_thread(process_)); }

	[[nodiscard]] Iterator end() const { return Iterator(nullptr); }

private:
	task_struct *process_;
};

} /* namespace zem */
