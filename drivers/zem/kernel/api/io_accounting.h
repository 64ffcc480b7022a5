/* SPDX-License-Identifier: GPL-2.0 */
/* What tasks read and write: <linux/task_io_accounting.h>, and who they are: <linux/cred.h>. */
#ifndef _ZEM_KERNEL_API_IO_ACCOUNTING_H
#define _ZEM_KERNEL_API_IO_ACCOUNTING_H

#include "types.h"

ZEM_API_BEGIN

struct kiocb;
struct task_struct;

/* Bytes but the last, since the thread was made. */
struct thread_io {
	u64 read_bytes;
	u64 write_bytes;
	u64 cancelled_write_bytes;
	u64 rchar;
	u64 wchar;
	u64 fsync; /* system calls; always 0, as mainline does not count them */
};

/* By an RCU reader. Return: false of a thread that is exiting, which then counts no more. */
bool helper_thread_io(const struct task_struct *thread, struct thread_io *io);

/* By an RCU reader. Return: the task's real user id, the overflow id for one that is not valid. */
unsigned int helper_task_real_uid(const struct task_struct *task);

/* Any context. Return: the user id; -1 of a task without credentials. */
s64 helper_current_uid(void);
s64 helper_task_uid(struct task_struct *task);

/* Any context. Return: whether the write has synchronous data semantics; false for NULL. */
bool helper_kiocb_is_dsync(const struct kiocb *iocb);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_IO_ACCOUNTING_H */
