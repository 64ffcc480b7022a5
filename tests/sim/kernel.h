/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The simulated kernel. Each test creates one before it loads the module, and destroys it after the
 * unload. The functions of kernel/api that the module calls use it.
 */
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "block.h"
#include "cgroups.h"
#include "clock.h"
#include "cpus.h"
#include "faults.h"
#include "gate.h"
#include "handle.h"
#include "io_accounting.h"
#include "irq_work.h"
#include "load_sources.h"
#include "locks.h"
#include "log.h"
#include "miscdevice.h"
#include "options.h"
#include "platform.h"
#include "problems.h"
#include "proc_fs.h"
#include "rcu.h"
#include "ring_buffer.h"
#include "scheduler.h"
#include "slab.h"
#include "sysfs.h"
#include "tracepoint.h"
#include "usb.h"

namespace sim {

class Module;

/* A thread of the test, such as a producer, a writer or a poller. Join it before the test ends. */
class Thread {
public:
	explicit Thread(task_struct *task) : task_(task) {}
	Thread(Thread &&other) noexcept : task_(std::exchange(other.task_, nullptr)) {}
	Thread &operator=(Thread &&) = delete;
	~Thread();

	void join();
	[[nodiscard]] bool ended() const;

private:
	task_struct *task_;
};

class Kernel {
public:
	explicit Kernel(const Options &options = {});
	~Kernel();
	Kernel(const Kernel &) = delete;
	Kernel &operator=(const Kernel &) = delete;

	/* Returns the only instance. */
	[[nodiscard]] static Kernel &get();

	/* Lets time pass and the other tasks run. */
	void run_for(Ticks jiffies);
	/* Runs until no other task can run without time passing. */
	void run_until_idle();
	/* Only advances time: no task runs until the next wait. For threads that run freely. */
	void advance(Ticks jiffies);

	/* Starts at the caller's next wait, or immediately if threads run freely. */
	[[nodiscard]] Thread spawn(std::string name, std::function<void()> body,
				   unsigned int cpu = 0);
	/* Runs @handler as an interrupt of the calling task. */
	void interrupt(const std::function<void()> &handler);
	/* Runs @action as part of the scheduler, with the run-queue lock held. */
	template <typename Action>
	void under_run_queue_lock(Action action);
	/* Moves the calling task to a CPU. */
	void move_to_cpu(unsigned int cpu);

	/* Notes a problem if the calling task may not sleep. */
	void might_sleep(const char *call);

	/* Notes a problem for each object that the unloaded module has left behind. */
	void check_leftovers();

	const Options options;
	Problems problems;
	Faults faults;
	Log log;
	Clock clock;
	Scheduler scheduler;
	Cpus cpus;
	Handles<Completion> completions;
	Handles<Mutex> mutexes;
	Handles<SpinLock> spinlocks;
	Handles<RawSpinLock> raw_spinlocks;
	IrqWorks irq_works;
	Slab slab;
	RingBuffers ring_buffers;
	Sysfs sysfs;
	MiscDevices misc;
	ProcFs proc;
	Rcu rcu;
	Cgroups cgroups;
	Blocks blocks;
	IoVisits io_visits;
	LoadSources load;
	Hooks hooks;
	Platform platform;
	Module *module = nullptr; /* the module under test */

	/*
	 * State at the last unload: hooks with probes, paths in /proc, directories in /sys, and
	 * whether the load feed had a listener.
	 */
	std::vector<std::string> left_hooks;
	std::vector<std::string> left_in_proc;
	std::vector<std::string> left_in_sysfs;
	bool left_listener = false;
};

template <typename Action>
void Kernel::under_run_queue_lock(Action action)
{
	task_struct &task = Scheduler::current();
	const bool locked_before = std::exchange(task.run_queue_locked, true);
	action();
	task.run_queue_locked = locked_before;
	irq_works.interrupts_on();
}

template <typename Condition, typename Take>
bool Gate::wait(const std::string &what, Condition condition, std::optional<Ticks> deadline,
		Take take)
{
	if (!kernel_.scheduler.free_running()) {
		const bool done = condition() || kernel_.scheduler.block(what, condition, deadline);
		if (done)
			take();
		return done;
	}
	/* The test advances time without notifying waiters, so they poll. */
	constexpr std::chrono::milliseconds kLook{1};
	std::unique_lock guard(lock_);
	while (!condition()) {
		if (deadline && kernel_.clock.ticks() >= *deadline)
			return false;
		if (deadline)
			changed_.wait_for(guard, kLook);
		else
			changed_.wait(guard);
	}
	take();
	return true;
}

} /* namespace sim */
