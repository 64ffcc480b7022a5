// SPDX-License-Identifier: GPL-2.0
/* <linux/timekeeping.h>, from any context. */
#include <linux/preempt.h>
#include <linux/timekeeping.h>

#include "../api/time.h"

/* An NMI may interrupt an update of the clock, for which ktime_get_real_ns() would wait. */
u64 helper_ktime_get_real_ns(void)
{
	return unlikely(in_nmi()) ? ktime_get_real_fast_ns() : ktime_get_real_ns();
}
