/* SPDX-License-Identifier: GPL-2.0 */
/* Completions: <linux/completion.h>. */
#ifndef _ZEM_KERNEL_API_COMPLETION_H
#define _ZEM_KERNEL_API_COMPLETION_H

#include "types.h"

ZEM_API_BEGIN

struct completion;

/* Any context with interrupts on or off, but not from an NMI. */
void complete(struct completion *x);

/* May sleep. Return: jiffies left, at least 1; 0 after @timeout jiffies. */
unsigned long wait_for_completion_timeout(struct completion *x, unsigned long timeout);

/* May sleep; no signal ends it, and neither the load average nor the hung-task watch counts it. */
void helper_wait_for_completion_idle(struct completion *x);

void helper_init_completion(struct completion *x);
void helper_reinit_completion(struct completion *x);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_COMPLETION_H */
