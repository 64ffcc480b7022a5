// SPDX-License-Identifier: GPL-2.0
/* The functions of <linux/mutex.h>: macros with lockdep, and since 6.18 inline functions. */
#include <linux/mutex.h>

#include "../api/mutex.h"

void helper_mutex_init(struct mutex *lock, const char *name, struct lock_class_key *key)
{
	__mutex_init(lock, name, key);
}

void helper_mutex_lock(struct mutex *lock)
{
	mutex_lock(lock);
}

void helper_mutex_unlock(struct mutex *lock)
{
	mutex_unlock(lock);
}
