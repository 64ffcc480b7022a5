/* SPDX-License-Identifier: GPL-2.0 */
/* Mutexes: <linux/mutex.h>. Its functions are macros or inline functions on some kernels. */
#ifndef _ZEM_KERNEL_API_MUTEX_H
#define _ZEM_KERNEL_API_MUTEX_H

#include "types.h"

ZEM_API_BEGIN

struct mutex;
struct lock_class_key;

/* @key: static storage of KERNEL_SIZEOF_LOCK_CLASS_KEY bytes, one for each lock. */
void helper_mutex_init(struct mutex *lock, const char *name, struct lock_class_key *key);

/* Context: may sleep. */
void helper_mutex_lock(struct mutex *lock);
void helper_mutex_unlock(struct mutex *lock);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_MUTEX_H */
