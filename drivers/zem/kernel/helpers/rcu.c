// SPDX-License-Identifier: GPL-2.0
/* The inline functions of <linux/rcupdate.h>. */
#include <linux/rcupdate.h>

#include "../api/rcu.h"

void helper_rcu_read_lock(void)
{
	rcu_read_lock();
}

void helper_rcu_read_unlock(void)
{
	rcu_read_unlock();
}
