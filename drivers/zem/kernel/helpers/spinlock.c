// SPDX-License-Identifier: GPL-2.0
/* The macros and inline functions of <linux/spinlock.h>. */
#include <linux/spinlock.h>

#include "../api/spinlock.h"

void helper_spin_lock_init(struct spinlock *lock, const char *name, struct lock_class_key *key)
{
	spin_lock_init(lock);
	lockdep_set_class_and_name(lock, key, name);
}

void helper_spin_lock(struct spinlock *lock)
{
	spin_lock(lock);
}

void helper_spin_unlock(struct spinlock *lock)
{
	spin_unlock(lock);
}
