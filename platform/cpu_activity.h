/* SPDX-License-Identifier: GPL-2.0 */
/* How long each CPU was busy. Fed by live_sched.c. */
#ifndef _ZEM_PLATFORM_CPU_ACTIVITY_H
#define _ZEM_PLATFORM_CPU_ACTIVITY_H

#include <linux/types.h>

/* This CPU turns to a task, or to nothing. Interrupts are off. */
void cpu_activity_set(bool busy);

/* Between the two, every CPU says what it turns to. May sleep. */
void cpu_activity_start(void);
void cpu_activity_stop(void);

#endif /* _ZEM_PLATFORM_CPU_ACTIVITY_H */
