/* SPDX-License-Identifier: GPL-2.0 */
/* Kernel threads: <linux/kthread.h>, and the wake-up of <linux/sched.h>. */
#ifndef _ZEM_KERNEL_API_KTHREAD_H
#define _ZEM_KERNEL_API_KTHREAD_H

#include "types.h"

ZEM_API_BEGIN

struct task_struct;

/* Return: the thread, not yet running, or NULL. May sleep. */
struct task_struct *helper_kthread_create(int (*body)(void *), void *data, const char *name);

/* May sleep until the thread has ended. Return: what its body returned; -EINTR if it never ran. */
int kthread_stop(struct task_struct *task);

/* For the thread itself. */
bool kthread_should_stop(void);

int wake_up_process(struct task_struct *task);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_KTHREAD_H */
