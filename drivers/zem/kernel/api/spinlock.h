/* SPDX-License-Identifier: GPL-2.0 */
/* Spinlocks: <linux/spinlock.h>. */
#ifndef _ZEM_KERNEL_API_SPINLOCK_H
#define _ZEM_KERNEL_API_SPINLOCK_H

#include "types.h"

ZEM_API_BEGIN

struct spinlock;
struct raw_spinlock;
struct lock_class_key;

void helper_spin_lock_init(struct spinlock *lock, const char *name, struct lock_class_key *key);

/* Context: any. A lock is either always taken with interrupts off, or never in an interrupt. */
void helper_spin_lock(struct spinlock *lock);
void helper_spin_unlock(struct spinlock *lock);

/* Spins on every kernel, so it may be taken under a run-queue lock. Context: as spinlocks. */
void helper_raw_spin_lock_init(struct raw_spinlock *lock, const char *name,
			       struct lock_class_key *key);
void helper_raw_spin_lock(struct raw_spinlock *lock);
void helper_raw_spin_unlock(struct raw_spinlock *lock);

/* Disables interrupts. Return: the state to restore. */
unsigned long helper_raw_spin_lock_irqsave(struct raw_spinlock *lock);
void helper_raw_spin_unlock_irqrestore(struct raw_spinlock *lock, unsigned long flags);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_SPINLOCK_H */
