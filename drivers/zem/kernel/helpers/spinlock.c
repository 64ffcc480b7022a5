// SPDX-License-Identifier: GPL-2.0
/* The macros and inline functions of <linux/spinlock.h>. */
#include <linux/spinlock.h>

#include "../api/spinlock.h"

void helper_spin_lock_init(struct spinlock *lock, const char *name, struct lock_class_key *key)
{
	spin_lock_init(lock);
	lockdep_set_class_and_name(lock, key, name);
}

void helper_raw_spin_lock_init(struct raw_spinlock *lock, const char *name,
			       struct lock_class_key *key)
{
	raw_spin_lock_init(lock);
	lockdep_set_class_and_name(lock, key, name);
}

void helper_raw_spin_lock(struct raw_spinlock *lock)
{
	raw_spin_lock(lock);
}

void helper_raw_spin_unlock(struct raw_spinlock *lock)
{
	raw_spin_unlock(lock);
}

unsigned long helper_raw_spin_lock_irqsave(struct raw_spinlock *lock)
{
	unsigned long flags;

	raw_spin_lock_irqsave(lock, flags);
	return flags;
}

void helper_raw_spin_unlock_irqrestore(struct raw_spinlock *lock, unsigned long flags)
{
	raw_spin_unlock_irqrestore(lock, flags);
}

void helper_spin_lock(struct spinlock *lock)
{
	spin_lock(lock);
}

void helper_spin_unlock(struct spinlock *lock)
{
	spin_unlock(lock);
}
