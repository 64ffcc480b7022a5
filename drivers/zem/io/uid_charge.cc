// SPDX-License-Identifier: GPL-2.0
/*
 * Walks over all tasks. A collection walks once for all UIDs, so its cost is the sum of tasks and
 * UIDs. All threads of a process count for the leader's UID.
 */
#include "io/uid_charge.h"

#include "io/uid_table.h"
#include "kernel/api/io_accounting.h"
#include "kernel/api/task.h"
#include "kernel/rcu.h"
#include "kernel/tasks.h"

namespace zem {

constinit Mutex uid_io_lock;

namespace {

void add(IoStats &sum, const IoStats &more)
{
	sum.read_bytes += more.read_bytes;
	sum.write_bytes += more.write_bytes;
}

/* Bytes that were cancelled before they were written to a device do not count. */
u64 written(const thread_io &io)
{
	return io.write_bytes > io.cancelled_write_bytes ?
		       io.write_bytes - io.cancelled_write_bytes :
		       0;
}

/* Locking: caller holds rcu_read_lock(). */
IoStats io_of_process(task_struct *process)
{
	IoStats sum{};
	for (task_struct *thread : Threads(process)) {
		thread_io io;
		if (!helper_thread_io(thread, &io))
			continue;
		sum.read_bytes += io.read_bytes;
		sum.write_bytes += written(io);
	}
	return sum;
}

/* Locking: caller holds uid_io_lock. */
void note_walked(UidEntry &entry, u32 walk, const IoStats &io)
{
	if (entry.walk != walk) {
		entry.walk = walk;
		entry.walked = {};
	}
	add(entry.walked, io);
}

/* A thread that has exited takes its counts with it. A negative increase is not charged. */
void charge(u64 &to, u64 now, u64 last)
{
	if (static_cast<s64>(now - last) > 0)
		to += now - last;
}

} /* namespace */

IoStats io_of_uid(u32 uid)
{
	IoStats sum{};
	RcuReadGuard guard;
	for (task_struct *process : Processes())
		if (helper_task_real_uid(process) == uid)
			add(sum, io_of_process(process));
	return sum;
}

void update_io_stats_uid_entry(UidEntry &entry, const IoStats &now)
{
	IoStats &to = entry.io[entry.state];
	charge(to.read_bytes, now.read_bytes, entry.last.read_bytes);
	charge(to.write_bytes, now.write_bytes, entry.last.write_bytes);
	entry.last = now;
}

/* The number is increased before the walk: an entry that the walk may have missed has the new one.
 */
u32 walk_all_uids()
{
	const u32 walk = begin_walk();
	RcuReadGuard guard;
	for (task_struct *process : Processes()) {
		const u32 uid = helper_task_real_uid(process);
		const IoStats io = io_of_process(process);
		if (UidEntry *entry = find_uid(uid))
			note_walked(*entry, walk, io);
	}
	return walk;
}

bool charge_walked(UidEntry &entry, u32 walk)
{
	if (entry.born == walk)
		return false;
	const bool has_tasks = entry.walk == walk;
	update_io_stats_uid_entry(entry, has_tasks ? entry.walked : IoStats{});
	return true;
}

} /* namespace zem */
