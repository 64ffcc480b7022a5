// SPDX-License-Identifier: GPL-2.0
/* Fields of tasks, their credentials and their IO. */
#include <linux/cred.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/uidgid.h>

#include "../api/io_accounting.h"

/* The thread updates these fields without marked accesses. Any recent value is acceptable. */
bool helper_thread_io(const struct task_struct *thread, struct thread_io *io)
{
	if (data_race(thread->flags) & PF_EXITING)
		return false;
	*io = (struct thread_io){
		.read_bytes = data_race(thread->ioac.read_bytes),
		.write_bytes = data_race(thread->ioac.write_bytes),
		.cancelled_write_bytes = data_race(thread->ioac.cancelled_write_bytes),
	};
	return true;
}

unsigned int helper_task_real_uid(const struct task_struct *task)
{
	kuid_t uid = __task_cred(task)->uid;

	/* The initial namespace maps each valid user to itself. */
	return likely(uid_valid(uid)) ? __kuid_val(uid) : from_kuid_munged(&init_user_ns, uid);
}

s64 helper_task_uid(struct task_struct *task)
{
	const struct cred *cred;
	s64 uid;

	rcu_read_lock();
	cred = __task_cred(task);
	uid = cred ? (s64)__kuid_val(cred->uid) : -1;
	rcu_read_unlock();
	return uid;
}
