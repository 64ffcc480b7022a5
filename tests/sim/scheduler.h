/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Schedules tasks, each of which is a real thread. In cooperative mode a baton lets one task run at
 * a time; it is passed on only when a task blocks or ends. If no task can run, virtual time
 * advances to the earliest deadline. If there is no deadline, the process ends with a list of the
 * waiting tasks.
 */
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "options.h"
#include "kernel/layout.gen.h"

struct task_ext;
struct task_struct;

namespace sim {

class Clock;
struct IrqWork;

/* Each context may be interrupted by the later ones. */
enum class Context {
	kInterrupt = 1,
	kProcess = 2,
};

using Ticks = uint64_t; /* jiffies since the start of the simulation, without wrap-around */

/* The fields that the module reads of a task; threads of the simulation do not change them. */
struct TaskFields {
	int pid = 0;
	int tgid = 0;
	char comm[16] = "";
	unsigned int uid = 0;
	std::atomic<int> exit_state{0};
	std::atomic<task_struct *> leader{nullptr};
	std::atomic<int> references{1};
	std::atomic<task_ext *> record{nullptr};
	std::atomic<int> svp{0}; /* the results of test_task_svp() and test_task_orig_svp() */
	std::atomic<int> orig_svp{0};
	std::atomic<uint64_t> sum_exec_runtime{0};
	std::atomic<bool> in_iowait{false};
	std::atomic<int> cpu_css_id{1}; /* -1: none */
	uint64_t start_time = 0;
	unsigned int cpu = 0;
	std::atomic<const TaskFields *> cred{this}; /* where uid is; null without credentials */
};
static_assert(offsetof(TaskFields, cpu) == KERNEL_TASK_CPU);
static_assert(offsetof(TaskFields, cred) == KERNEL_TASK_CRED);
static_assert(offsetof(TaskFields, uid) == KERNEL_CRED_UID);
static_assert(offsetof(TaskFields, pid) == KERNEL_TASK_PID);
static_assert(offsetof(TaskFields, exit_state) == KERNEL_TASK_EXIT_STATE);
static_assert(offsetof(TaskFields, leader) == KERNEL_TASK_GROUP_LEADER);
static_assert(offsetof(TaskFields, sum_exec_runtime) == KERNEL_TASK_SUM_EXEC_RUNTIME);

} /* namespace sim */

struct task_struct {
	sim::TaskFields fields; /* first: the module uses fixed offsets */
	std::string name;
	std::function<int()> body;
	bool is_kthread = false;

	int preempt_count = 0;
	unsigned long preempt_disables = 0; /* calls of preempt_disable() */
	int rcu_nesting = 0;
	bool run_queue_locked = false;
	int irqs_off = 0; /* number of held locks that disable interrupts */
	sim::Context context = sim::Context::kProcess;
	std::vector<sim::IrqWork *> irq_works; /* queued by the task on its CPU */

	std::thread thread;
	bool woken = false;
	std::atomic<bool> should_stop{false};
	int result = 0;

	/* For the scheduler, under its lock. */
	std::condition_variable baton;
	bool exited = false;
	bool only_when_idle = false;
	std::string waits_on;
	std::function<bool()> condition; /* empty: the task can run */
	std::optional<sim::Ticks> deadline;
};

namespace sim {

class Scheduler {
public:
	Scheduler(Mode mode, Clock &clock);
	~Scheduler();

	[[nodiscard]] bool free_running() const { return mode_ == Mode::kFreeRunning; }

	/* Returns the task of the calling thread. */
	[[nodiscard]] static task_struct &current();
	/* Return: whether no interrupt can occur in the task's context. */
	[[nodiscard]] static bool interrupts_off(const task_struct &task)
	{
		return task.irqs_off != 0 || task.run_queue_locked ||
		       task.context == Context::kInterrupt;
	}

	[[nodiscard]] task_struct *create(std::string name, std::function<int()> body);
	void wake(task_struct &task);
	/* Waits for the task to end, frees it and returns the result of its body. */
	int reap(task_struct &task);
	/* Frees a task that was never woken. */
	void discard(task_struct &task);

	/*
	 * Blocks until @condition holds or @deadline has passed. The task that passes the baton
	 * evaluates the condition. Cooperative mode only. Return: whether the condition holds.
	 */
	bool block(const std::string &waits_on, std::function<bool()> condition,
		   std::optional<Ticks> deadline, bool only_when_idle = false);

	/* Runs @action immediately as a task of another CPU. It must not block. */
	void meanwhile_on_cpu(unsigned int cpu, const std::function<void()> &action);

	/* Names of the tasks that have not ended, without the test itself. */
	[[nodiscard]] std::list<std::string> unfinished();
	[[nodiscard]] std::string dump();

private:
	[[nodiscard]] bool can_run(const task_struct &task, bool idle) const;
	[[nodiscard]] task_struct *next_to_run(bool idle);
	[[nodiscard]] task_struct &pick();
	void advance_time();
	void pass_baton(task_struct &from);
	void run(task_struct &task);
	[[noreturn]] void die(const std::string &why);
	[[nodiscard]] std::string dump_locked() const;

	const Mode mode_;
	Clock &clock_;
	std::mutex lock_;
	std::condition_variable exits_;
	std::list<std::unique_ptr<task_struct>> tasks_; /* the first one is the test itself */
	task_struct *running_;
};

} /* namespace sim */
