// SPDX-License-Identifier: GPL-2.0
/*
 * Counts IO for the current task's UID, regardless of the task that a hook names. Only a bio makes
 * a UID known; reads and writes of an unknown UID are not counted.
 */
#include "io/uid_io.h"

#include "io/uid_charge.h"
#include "io/uid_control.h"
#include "io/uid_table.h"
#include "kernel/api/io_accounting.h"
#include "kernel/api/task.h"
#include "kernel/atomic.h"
#include "kernel/current.h"
#include "kernel/kiocb.h"
#include "kernel/rcu.h"
#include "linux/zem.h"
#include "platform/task_record.h"

namespace zem {

namespace {

/* IO of root does not belong to an app. */
u32 state_of(const UidEntry &entry)
{
	return entry.uid == kRootUid ? kBackground : read_once(entry.state);
}

void count_svp_read(zem_svp_stats &stats, u64 bytes)
{
	atomic_add(bytes, stats.read_bytes);
	atomic_add(1, stats.read_syscall_cnt);
}

void count_svp_write(zem_svp_stats &stats, u64 bytes)
{
	atomic_add(bytes, stats.write_bytes);
	atomic_add(1, stats.write_syscall_cnt);
}

/* Locking: caller holds rcu_read_lock(), as every hook does. */
template <auto count>
void count_svp(task_struct *task, u64 bytes)
{
	if (const task_ext *record = record_of_counted(task))
		count(*record->svp_stats, bytes);
}

[[gnu::always_inline]] inline u32 count_bio(UidEntry &entry)
{
	const u32 state = state_of(entry);
	atomic_add(1, counts_of(entry).bio_count[state]);
	return state;
}

/*
 * Runs once for each UID, so it is kept out of the path of other bios.
 * Return: kBackground, unless another CPU has created the entry meanwhile.
 */
[[gnu::noinline]] u32 count_first_bio(u32 uid)
{
	const LockedUid entry = LockedUid::make(uid);
	if (!entry.get())
		return kBackground;
	const u32 state = count_bio(*entry.get());
	return entry.is_new() ? u32{kBackground} : state;
}

/* Locking: as find_uid(). */
[[gnu::always_inline]] inline void count_transfer(const kiocb *iocb, u64 bytes, bool is_write)
{
	const s64 uid = current_uid();
	if (uid < 0)
		return;
	UidEntry *entry = find_uid(static_cast<u32>(uid));
	if (!entry)
		return;
	UidCounts &counts = counts_of(*entry);
	if (!is_write)
		atomic_add(1, counts.read_calls);
	else if (kiocb_is_dsync(iocb))
		atomic_add(bytes, counts.sync_write_chars);
	else
		atomic_add(bytes, counts.async_write_chars);
}

} /* namespace */

int zem_proc_uid_sys_stats_init()
{
	uid_table_init();
	uid_io_lock.init("zem_uid_io");
	return uid_control_init();
}

void zem_proc_uid_sys_stats_exit()
{
	uid_table_exit();
}

u32 get_uid_state(u32 uid)
{
	if (uid == kRootUid)
		return kBackground;
	const UidEntry *entry = find_uid(uid);
	return entry ? read_once(entry->state) : kBackground;
}

u32 record_bio_count()
{
	const s64 uid = current_uid();
	if (uid < 0)
		return kBackground;
	if (UidEntry *entry = find_uid(static_cast<u32>(uid))) [[likely]]
		return count_bio(*entry);
	return count_first_bio(static_cast<u32>(uid));
}

void task_rchar(void *, kiocb *iocb, task_struct *task, s64 bytes)
{
	if (bytes < 0)
		return;
	count_transfer(iocb, static_cast<u64>(bytes), false);
	count_svp<count_svp_read>(task, static_cast<u64>(bytes));
}

void task_wchar(void *, kiocb *iocb, task_struct *task, s64 bytes)
{
	if (bytes < 0)
		return;
	count_transfer(iocb, static_cast<u64>(bytes), true);
	count_svp<count_svp_write>(task, static_cast<u64>(bytes));
}

} /* namespace zem */

void record_uid_io_sync(kiocb *iocb, unsigned long long bytes, int is_write)
{
	zem::RcuReadGuard guard;
	zem::count_transfer(iocb, bytes, is_write != 0);
}

void record_uid_iowait(task_struct *task, unsigned long long delay)
{
	using namespace zem;

	if (!task || !helper_task_in_iowait(task))
		return;
	const s64 uid = helper_task_uid(task);
	if (uid < 0)
		return;
	RcuReadGuard guard;
	if (UidEntry *entry = find_uid(static_cast<u32>(uid)))
		atomic_add(delay, counts_of(*entry).iowait);
}
