// SPDX-License-Identifier: GPL-2.0
/* The lock functions of <linux/mutex.h>, which are macros with lockdep. */
#include <linux/mutex.h>

#include "../api/mutex.h"

void helper_mutex_lock(struct mutex *lock)
{
	mutex_lock(lock);
}

void helper_mutex_unlock(struct mutex *lock)
{
	mutex_unlock(lock);
}
