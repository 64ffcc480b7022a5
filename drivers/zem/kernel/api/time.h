/* SPDX-License-Identifier: GPL-2.0 */
/* Jiffies, sleeping, wall-clock time: <linux/jiffies.h>, <linux/delay.h>, <linux/timekeeping.h>. */
#ifndef _ZEM_KERNEL_API_TIME_H
#define _ZEM_KERNEL_API_TIME_H

#include "types.h"

ZEM_API_BEGIN

extern unsigned long volatile jiffies;

unsigned int helper_jiffies_to_msecs(unsigned long count);

/* Sleeps uninterruptibly for at least @msecs. */
void msleep(unsigned int msecs);

/* Return: ns since boot, without time in suspend. Context: any except NMI. */
s64 ktime_get(void);

/*
 * Return: ns since the epoch. In an NMI they may be off by the step of an adjustment that the NMI
 * interrupts. Context: any.
 */
u64 helper_ktime_get_real_ns(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TIME_H */
