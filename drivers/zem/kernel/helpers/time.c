// SPDX-License-Identifier: GPL-2.0
/* <linux/timekeeping.h>, from any context, and an inline function of <linux/jiffies.h>. */
#include <linux/jiffies.h>
#include <linux/ktime.h>
#include <linux/preempt.h>

#include "../api/time.h"

unsigned int helper_jiffies_to_msecs(unsigned long count)
{
	return jiffies_to_msecs(count);
}

/* An NMI may interrupt an update of the clock, for which ktime_get_real_ns() would wait. */
u64 helper_ktime_get_real_ns(void)
{
	return unlikely(in_nmi()) ? ktime_get_real_fast_ns() : ktime_get_real_ns();
}
