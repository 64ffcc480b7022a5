// SPDX-License-Identifier: GPL-2.0
/* Mutexes and spinlocks, with the checks that lockdep would make of a single lock. */
#include "kernel/api/mutex.h"
#include "kernel/api/spinlock.h"

#include "kernel.h"

using sim::Kernel;

namespace {

sim::Mutex &mutex_of(struct mutex *lock, const char *call)
{
	return sim::Handles<sim::Mutex>::of(lock, call);
}

sim::SpinLock &spinlock_of(struct spinlock *lock, const char *call)
{
	return sim::Handles<sim::SpinLock>::of(lock, call);
}

} /* namespace */

void __mutex_init(struct mutex *lock, const char *name, struct lock_class_key *)
{
	Kernel &kernel = Kernel::get();
	kernel.mutexes.make(lock, kernel, name);
}

void helper_mutex_lock(struct mutex *lock)
{
	Kernel &kernel = Kernel::get();
	sim::Mutex &mutex = mutex_of(lock, "mutex_lock");
	task_struct *self = &sim::Scheduler::current();
	kernel.might_sleep("mutex_lock");
	kernel.faults.strikes("mutex_lock");
	if (mutex.gate.look([&] { return mutex.owner == self; }))
		kernel.problems.add("mutex_lock of " + mutex.name + " by its owner");
	mutex.gate.wait(
		"mutex " + mutex.name, [&] { return !mutex.owner; }, {},
		[&] { mutex.owner = self; });
}

void helper_mutex_unlock(struct mutex *lock)
{
	Kernel &kernel = Kernel::get();
	sim::Mutex &mutex = mutex_of(lock, "mutex_unlock");
	mutex.gate.change([&] {
		if (mutex.owner != &sim::Scheduler::current())
			kernel.problems.add("mutex_unlock of " + mutex.name + " by another task");
		mutex.owner = nullptr;
	});
}

void helper_spin_lock_init(struct spinlock *lock, const char *name, struct lock_class_key *)
{
	Kernel::get().spinlocks.make(lock, name);
}

void helper_spin_lock(struct spinlock *lock)
{
	sim::SpinLock &spinlock = spinlock_of(lock, "spin_lock");
	task_struct &self = sim::Scheduler::current();
	if (spinlock.owner.load(std::memory_order_relaxed) == &self)
		Kernel::get().problems.add("spin_lock of " + spinlock.name + " by its owner");
	self.preempt_count++;
	spinlock.lock.lock();
	spinlock.owner.store(&self, std::memory_order_relaxed);
}

void helper_spin_unlock(struct spinlock *lock)
{
	sim::SpinLock &spinlock = spinlock_of(lock, "spin_unlock");
	task_struct &self = sim::Scheduler::current();
	if (spinlock.owner.load(std::memory_order_relaxed) != &self) {
		Kernel::get().problems.add("spin_unlock of " + spinlock.name + " by another task");
		return;
	}
	spinlock.owner.store(nullptr, std::memory_order_relaxed);
	spinlock.lock.unlock();
	self.preempt_count--;
}
