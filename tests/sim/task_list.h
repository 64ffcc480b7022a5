/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The kernel's list of processes, and the threads of each. A removed task keeps its link to the
 * next one for RCU readers that have reached it. Any thread.
 */
#pragma once

#include <mutex>
#include <vector>

struct task_struct;

namespace sim {

struct Task;

class TaskList {
public:
	/* A ring that begins and ends with @initial. */
	explicit TaskList(Task &initial);

	/* Appends to the processes, or to the threads of @leader. */
	void add(Task &task, Task *leader);
	void remove(Task &task);
	/* Returns the listed task with that pid, or null. */
	[[nodiscard]] Task *find(int pid);

private:
	Task &initial_;
	std::mutex lock_;
	std::vector<Task *> tasks_; /* in the order of creation */
};

} /* namespace sim */
