// SPDX-License-Identifier: GPL-2.0
/* RCU read sections, counted for each task. */
#include "rcu.h"

#include "kernel.h"
#include "kernel/api/rcu.h"

namespace sim {

void Rcu::read_lock()
{
	if (Scheduler::current().rcu_nesting++ == 0)
		readers_.lock_shared();
}

void Rcu::read_unlock()
{
	task_struct &task = Scheduler::current();
	if (task.rcu_nesting == 0) {
		Kernel::get().problems.add("rcu_read_unlock without a lock by " + task.name);
		return;
	}
	if (--task.rcu_nesting > 0)
		return;
	readers_.unlock_shared();
	free_retired();
}

void Rcu::expect_reader(const char *call)
{
	const task_struct &task = Scheduler::current();
	if (task.rcu_nesting == 0)
		Kernel::get().problems.add(std::string(call) + " outside of rcu_read_lock by " +
					   task.name);
}

void Rcu::synchronize()
{
	Kernel::get().might_sleep("synchronize_rcu");
	readers_.lock();
	readers_.unlock();
	free_retired();
}

void Rcu::retire(std::function<void()> free)
{
	{
		std::lock_guard guard(lock_);
		retired_.push_back(std::move(free));
	}
	free_retired();
}

/* If a reader is active, the last reader or a later call frees. */
void Rcu::free_retired()
{
	std::vector<std::function<void()>> ready;
	{
		std::lock_guard guard(lock_);
		if (retired_.empty() || !readers_.try_lock())
			return;
		readers_.unlock();
		ready.swap(retired_);
	}
	for (const auto &free : ready)
		free();
}

} /* namespace sim */

void helper_rcu_read_lock(void)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.rcu.read_lock();
	kernel.faults.strikes("rcu_read_lock");
}

void synchronize_rcu(void)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.faults.strikes("synchronize_rcu");
	kernel.rcu.synchronize();
}

void helper_rcu_read_unlock(void)
{
	sim::Kernel::get().rcu.read_unlock();
}
