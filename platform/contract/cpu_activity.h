/* SPDX-License-Identifier: GPL-2.0 */
/* Counts how long each CPU was busy. live/sched.c reports the switches. */
#ifndef _ZEM_PLATFORM_CPU_ACTIVITY_H
#define _ZEM_PLATFORM_CPU_ACTIVITY_H

#include <linux/types.h>

/* Records that this CPU starts to run a task, or becomes idle. Context: interrupts off. */
void cpu_activity_set(bool busy);

/* Every CPU reports its switches between the two calls. May sleep. */
void cpu_activity_start(void);
void cpu_activity_stop(void);

#endif /* _ZEM_PLATFORM_CPU_ACTIVITY_H */
