/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The kernel's list of processes, and the threads of each. A task that has been taken off still
 * leads on to the one that followed it, for the RCU readers that have come to it. Any thread.
 */
#pragma once

#include <mutex>
#include <vector>

struct task_struct;

namespace sim {

struct Task;

class TaskList {
public:
	/* A ring, which begins and ends with @initial. */
	explicit TaskList(Task &initial);

	/* At the end: of the processes, or of the threads of @leader. */
	void add(Task &task, Task *leader);
	void remove(Task &task);
	/* Of the tasks that are on the list; null: none has the pid. */
	[[nodiscard]] Task *find(int pid);

private:
	Task &initial_;
	std::mutex lock_;
	std::vector<Task *> tasks_; /* in the order in which they were made */
};

} /* namespace sim */
