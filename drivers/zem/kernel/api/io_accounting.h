/* SPDX-License-Identifier: GPL-2.0 */
/* IO of tasks: <linux/task_io_accounting.h>, and their credentials: <linux/cred.h>. */
#ifndef _ZEM_KERNEL_API_IO_ACCOUNTING_H
#define _ZEM_KERNEL_API_IO_ACCOUNTING_H

#include "types.h"

ZEM_API_BEGIN

struct task_struct;

/* Bytes since the thread was created. */
struct thread_io {
	u64 read_bytes;
	u64 write_bytes;
	u64 cancelled_write_bytes;
};

/* Return: false if the thread is exiting. Locking: caller holds rcu_read_lock(). */
bool helper_thread_io(const struct task_struct *thread, struct thread_io *io);

/*
 * Return: the task's real user id; the overflow id if it is not valid.
 * Locking: caller holds rcu_read_lock().
 */
unsigned int helper_task_real_uid(const struct task_struct *task);

/* Return: the user id; -1 for a task without credentials. Context: any. */
s64 helper_task_uid(struct task_struct *task);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_IO_ACCOUNTING_H */
