/* SPDX-License-Identifier: GPL-2.0 */
/* Completions: <linux/completion.h>. */
#ifndef _ZEM_KERNEL_API_COMPLETION_H
#define _ZEM_KERNEL_API_COMPLETION_H

#include "types.h"

ZEM_API_BEGIN

struct completion;

/* Context: any except NMI, without a run-queue lock held. */
void complete(struct completion *x);

/* Return: remaining jiffies, at least 1; 0 after @timeout jiffies. Context: may sleep. */
unsigned long wait_for_completion_timeout(struct completion *x, unsigned long timeout);

/*
 * Waits in TASK_IDLE: signals do not end it, and neither the load average nor the hung-task
 * detector counts it. Context: may sleep.
 */
void helper_wait_for_completion_idle(struct completion *x);

/* Return: whether complete() may be called here: interrupts are on, and this is no NMI. */
bool helper_may_complete(void);

void helper_init_completion(struct completion *x);
void helper_reinit_completion(struct completion *x);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_COMPLETION_H */
