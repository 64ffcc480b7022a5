/* SPDX-License-Identifier: GPL-2.0 */
/* Jiffies, sleeping, wall-clock time: <linux/jiffies.h>, <linux/delay.h>, <linux/timekeeping.h>. */
#ifndef _ZEM_KERNEL_API_TIME_H
#define _ZEM_KERNEL_API_TIME_H

#include "types.h"

#ifdef __cplusplus
/* layout.c compares size and offsets with the kernel's. */
struct timespec64 {
	s64 tv_sec;
	long tv_nsec;
};
#endif

ZEM_API_BEGIN

extern unsigned long volatile jiffies;

unsigned int jiffies_to_msecs(const unsigned long count);

/* Sleeps uninterruptibly for at least @msecs. */
void msleep(unsigned int msecs);

/* Return: ns since boot, without time in suspend. Context: any except NMI. */
s64 ktime_get(void);

/* The time in an NMI may be off by the step of an adjustment that it interrupts. Context: any. */
void helper_ktime_get_real_ts64(struct timespec64 *time);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TIME_H */
