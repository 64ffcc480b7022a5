// SPDX-License-Identifier: GPL-2.0
/*
 * Locks, completions, RCU and interrupts. The locks are real. Read sections are a compiler barrier,
 * as in a kernel, because nothing is freed while threads run. No interrupt occurs.
 */
#include <cstdlib>

#include "host/host.h"
#include "host/spin.h"
#include "kernel/api/completion.h"
#include "kernel/api/irq_work.h"
#include "kernel/api/mutex.h"
#include "kernel/api/rcu.h"
#include "kernel/api/spinlock.h"
#include "kernel/layout.gen.h"

namespace {

struct Completion {
	unsigned int done;
	ticket_lock lock;
	void *waiters[2]; /* always an empty list */
};

struct IrqWork {
	void (*function)(irq_work *work);
};

static_assert(sizeof(ticket_lock) == KERNEL_SIZEOF_RAW_SPINLOCK);
static_assert(sizeof(ticket_lock) == KERNEL_SIZEOF_SPINLOCK);
static_assert(sizeof(Completion) <= KERNEL_SIZEOF_COMPLETION);
static_assert(sizeof(IrqWork) <= KERNEL_SIZEOF_IRQ_WORK);

template <typename Object, typename Storage>
Object &in(Storage *storage)
{
	return *reinterpret_cast<Object *>(storage);
}

unsigned long idle_waits;
void (*when_idle)();

} /* namespace */

namespace host {

unsigned long waits_without_signal()
{
	return idle_waits;
}

void signal_when_idle(void (*signal)())
{
	when_idle = signal;
}

} /* namespace host */

void helper_spin_lock_init(struct spinlock *lock, const char *, struct lock_class_key *)
{
	in<ticket_lock>(lock) = {};
}

void helper_spin_lock(struct spinlock *lock)
{
	ticket_lock_acquire(&in<ticket_lock>(lock));
}

void helper_spin_unlock(struct spinlock *lock)
{
	ticket_lock_release(&in<ticket_lock>(lock));
}

void helper_raw_spin_lock_init(struct raw_spinlock *lock, const char *, struct lock_class_key *)
{
	in<ticket_lock>(lock) = {};
}

void helper_raw_spin_lock(struct raw_spinlock *lock)
{
	ticket_lock_acquire(&in<ticket_lock>(lock));
}

void helper_raw_spin_unlock(struct raw_spinlock *lock)
{
	ticket_lock_release(&in<ticket_lock>(lock));
}

unsigned long helper_raw_spin_lock_irqsave(struct raw_spinlock *lock)
{
	ticket_lock_acquire(&in<ticket_lock>(lock));
	return 0;
}

void helper_raw_spin_unlock_irqrestore(struct raw_spinlock *lock, unsigned long)
{
	ticket_lock_release(&in<ticket_lock>(lock));
}

/* Taken only between measurements. */
void helper_mutex_init(struct mutex *lock, const char *, struct lock_class_key *)
{
	in<ticket_lock>(lock) = {};
}

void helper_mutex_lock(struct mutex *lock)
{
	ticket_lock_acquire(&in<ticket_lock>(lock));
}

void helper_mutex_unlock(struct mutex *lock)
{
	ticket_lock_release(&in<ticket_lock>(lock));
}

void helper_rcu_read_lock(void)
{
	asm volatile("" ::: "memory");
}

void helper_rcu_read_unlock(void)
{
	asm volatile("" ::: "memory");
}

void helper_init_completion(struct completion *x)
{
	in<Completion>(x) = {};
}

void complete(struct completion *x)
{
	Completion &completion = in<Completion>(x);
	ticket_lock_acquire(&completion.lock);
	if (completion.done != ~0u)
		completion.done++;
	ticket_lock_release(&completion.lock);
}

/* Without a signal, calls the function that must signal instead of sleeping. */
void helper_wait_for_completion_idle(struct completion *x)
{
	Completion &completion = in<Completion>(x);
	if (!completion.done) {
		idle_waits++;
		when_idle();
	}
	if (!completion.done)
		std::abort();
	completion.done--;
}

bool helper_may_complete(void)
{
	return true;
}

void helper_irq_work_init(struct irq_work *work, void (*function)(struct irq_work *))
{
	in<IrqWork>(work).function = function;
}
