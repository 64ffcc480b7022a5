/* SPDX-License-Identifier: GPL-2.0 */
/* Mutexes: <linux/mutex.h>. The lock functions are macros with lockdep, so they have helpers. */
#ifndef _ZEM_KERNEL_API_MUTEX_H
#define _ZEM_KERNEL_API_MUTEX_H

#include "types.h"

ZEM_API_BEGIN

struct mutex;
struct lock_class_key;

/* @key: static storage of KERNEL_SIZEOF_LOCK_CLASS_KEY bytes, one for each lock. */
void __mutex_init(struct mutex *lock, const char *name, struct lock_class_key *key);

/* Context: may sleep. */
void helper_mutex_lock(struct mutex *lock);
void helper_mutex_unlock(struct mutex *lock);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_MUTEX_H */
