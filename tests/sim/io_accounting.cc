// SPDX-License-Identifier: GPL-2.0
/* The module's access to tasks' IO and credentials. */
#include "io_accounting.h"

#include "kernel.h"
#include "kernel/api/io_accounting.h"

using sim::Kernel;

namespace {

/* The value that stands for an invalid user id. */
constexpr unsigned int kInvalidUid = ~0u;
constexpr unsigned int kOverflowUid = 65534;

} /* namespace */

bool helper_thread_io(const struct task_struct *thread, struct thread_io *io)
{
	Kernel &kernel = Kernel::get();
	kernel.rcu.expect_reader("the IO of a thread");
	kernel.faults.strikes("thread_io");
	kernel.io_visits.threads++;
	const sim::TaskIo &done = static_cast<const sim::Task *>(thread)->io;
	if (done.is_exiting)
		return false;
	*io = {
		.read_bytes = done.read_bytes,
		.write_bytes = done.write_bytes,
		.cancelled_write_bytes = done.cancelled_write_bytes,
	};
	return true;
}

unsigned int helper_task_real_uid(const struct task_struct *task)
{
	Kernel &kernel = Kernel::get();
	kernel.rcu.expect_reader("the credentials of a task");
	kernel.io_visits.processes++;
	const unsigned int uid = task->fields.uid;
	return uid == kInvalidUid ? kOverflowUid : uid;
}

s64 helper_task_uid(struct task_struct *task)
{
	const sim::TaskFields *cred = task->fields.cred.load(std::memory_order_relaxed);
	return cred ? cred->uid : s64{-1};
}
