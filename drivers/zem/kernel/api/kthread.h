/* SPDX-License-Identifier: GPL-2.0 */
/* Kernel threads: <linux/kthread.h>, and the wake-up of <linux/sched.h>. */
#ifndef _ZEM_KERNEL_API_KTHREAD_H
#define _ZEM_KERNEL_API_KTHREAD_H

#include "types.h"

ZEM_API_BEGIN

struct task_struct;

/* Return: the thread, which is not running yet, or NULL. Context: may sleep. */
struct task_struct *helper_kthread_create(int (*body)(void *), void *data, const char *name);

/*
 * Waits until the thread has ended. Context: may sleep.
 * Return: the result of its body; -EINTR if it never ran.
 */
int kthread_stop(struct task_struct *task);

/* Called by the thread itself. */
bool kthread_should_stop(void);

int wake_up_process(struct task_struct *task);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_KTHREAD_H */
