// SPDX-License-Identifier: GPL-2.0
/* Mutexes and spinlocks, with lockdep's checks of a single lock. */
#include "kernel/api/mutex.h"
#include "kernel/api/spinlock.h"

#include <cstdio>
#include <cstdlib>

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

sim::RawSpinLock &raw_spinlock_of(struct raw_spinlock *lock, const char *call)
{
	return sim::Handles<sim::RawSpinLock>::of(lock, call);
}

/* Distinguishes a saved state from one that was not saved. */
constexpr unsigned long kIrqsWere = 0x1295;

/* A task that takes a lock twice would spin forever. */
void take(sim::SpinLock &spinlock, const char *call)
{
	task_struct &self = sim::Scheduler::current();
	Kernel::get().faults.strikes(call);
	if (spinlock.owner.load(std::memory_order_relaxed) == &self) {
		fprintf(stderr, "DEADLOCK: %s of %s by its owner\n", call, spinlock.name.c_str());
		std::_Exit(EXIT_FAILURE);
	}
	self.preempt_count++;
	spinlock.lock.lock();
	spinlock.owner.store(&self, std::memory_order_relaxed);
}

void release(sim::SpinLock &spinlock, const char *call)
{
	task_struct &self = sim::Scheduler::current();
	if (spinlock.owner.load(std::memory_order_relaxed) != &self) {
		Kernel::get().problems.add(std::string(call) + " of " + spinlock.name +
					   " by another task");
		return;
	}
	spinlock.owner.store(nullptr, std::memory_order_relaxed);
	spinlock.lock.unlock();
	self.preempt_count--;
}

} /* namespace */

void helper_mutex_init(struct mutex *lock, const char *name, struct lock_class_key *)
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
	/* A kernel with PREEMPT_RT would sleep here. */
	if (sim::Scheduler::current().run_queue_locked)
		Kernel::get().problems.add("spin_lock under a run-queue lock");
	take(spinlock_of(lock, "spin_lock"), "spin_lock");
}

void helper_spin_unlock(struct spinlock *lock)
{
	release(spinlock_of(lock, "spin_unlock"), "spin_unlock");
}

void helper_raw_spin_lock_init(struct raw_spinlock *lock, const char *name, struct lock_class_key *)
{
	Kernel::get().raw_spinlocks.make(lock, name);
}

void helper_raw_spin_lock(struct raw_spinlock *lock)
{
	sim::RawSpinLock &spinlock = raw_spinlock_of(lock, "raw_spin_lock");
	if (!sim::Scheduler::interrupts_off(sim::Scheduler::current()))
		Kernel::get().problems.add("raw_spin_lock of " + spinlock.name +
					   " with interrupts on");
	take(spinlock, "raw_spin_lock");
}

void helper_raw_spin_unlock(struct raw_spinlock *lock)
{
	release(raw_spinlock_of(lock, "raw_spin_unlock"), "raw_spin_unlock");
}

unsigned long helper_raw_spin_lock_irqsave(struct raw_spinlock *lock)
{
	task_struct &self = sim::Scheduler::current();
	const unsigned long flags = kIrqsWere + static_cast<unsigned long>(self.irqs_off);
	self.irqs_off++;
	take(raw_spinlock_of(lock, "raw_spin_lock_irqsave"), "raw_spin_lock_irqsave");
	return flags;
}

void helper_raw_spin_unlock_irqrestore(struct raw_spinlock *lock, unsigned long flags)
{
	task_struct &self = sim::Scheduler::current();
	release(raw_spinlock_of(lock, "raw_spin_unlock_irqrestore"), "raw_spin_unlock_irqrestore");
	self.irqs_off--;
	if (flags != kIrqsWere + static_cast<unsigned long>(self.irqs_off))
		Kernel::get().problems.add("raw_spin_unlock_irqrestore to another state");
	Kernel::get().irq_works.interrupts_on();
}
