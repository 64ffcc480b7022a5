// SPDX-License-Identifier: GPL-2.0
/* <linux/timekeeping.h>, from any context. */
#include <linux/preempt.h>
#include <linux/time64.h>
#include <linux/timekeeping.h>

#include "../api/time.h"

/* An NMI may interrupt an update of the clock, for which ktime_get_real_ts64() would wait. */
void helper_ktime_get_real_ts64(struct timespec64 *time)
{
	if (unlikely(in_nmi()))
		*time = ns_to_timespec64(ktime_get_real_fast_ns());
	else
		ktime_get_real_ts64(time);
}
