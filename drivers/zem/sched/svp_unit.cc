// SPDX-License-Identifier: GPL-2.0
/*
 * Copies the counters of a task while they continue, and holds back the IO waits of an app's cold
 * start until the start has ended.
 */
#include "sched/svp_unit.h"

#include "kernel/api/task.h"
#include "kernel/atomic.h"
#include "kernel/rcu.h"
#include "kernel/task.h"
#include "platform/task_record.h"

namespace zem {

namespace {

/* If the task is not dead in the RCU read section, its leader stays valid there. */
void copy_group_package(task_struct *task, char (&name)[32])
{
	RcuReadGuard guard;
	if (!task_has_exited(task))
		copy_package_name(record_of(task_group_leader(task)), name);
}

/* The counters continue meanwhile, so each word is read or zeroed as a whole. */
using StatsWord [[gnu::may_alias]] = u64;
constexpr size_t kStatsWords = sizeof(zem_svp_stats) / sizeof(StatsWord);
static_assert(kStatsWords * sizeof(StatsWord) == sizeof(zem_svp_stats));

void copy_stats(zem_svp_stats &to, const zem_svp_stats &from)
{
	auto *target = reinterpret_cast<StatsWord *>(&to);
	const auto *source = reinterpret_cast<const StatsWord *>(&from);
	for (size_t i = 0; i < kStatsWords; i++)
		target[i] = smp_load_acquire(source[i]);
}

void zero_stats(zem_svp_stats &stats)
{
	auto *words = reinterpret_cast<StatsWord *>(&stats);
	for (size_t i = 0; i < kStatsWords; i++)
		write_once(words[i], 0);
}

/* IO waits of an app's cold start, held back until the start has ended. */
struct ColdStart {
	u64 iowait;
	u32 count;
};

ColdStart hold_cold_start_back(zem_svp_stats &stats, unsigned int uid)
{
	int first = 0, second = 0, starting_uid = -1;
	test_app_starting_simple(&first, &second, &starting_uid);
	if (static_cast<unsigned int>(starting_uid) != uid)
		return {0, 0};
	return {
		.iowait = xchg(stats.iowait_coldstart, 0),
		.count = xchg(stats.iowait_coldstart_cnt, 0),
	};
}

void give_cold_start_back(zem_svp_stats &stats, ColdStart held)
{
	if (!held.iowait)
		return;
	atomic_add(held.iowait, stats.iowait_coldstart);
	atomic_add(held.count, stats.iowait_coldstart_cnt);
}

} /* namespace */

void take_svp_unit(task_ext &record, zem_svp &unit, SvpEmit emit)
{
	zem_svp_stats *stats = smp_load_acquire(record.svp_stats);
	if (!stats)
		return;

	task_view view;
	helper_task_view(record.task, &view);
	unit.tgid = view.tgid;
	unit.pid = view.pid;
	__builtin_memcpy(unit.thread_name, view.comm, sizeof(unit.thread_name));
	copy_group_package(record.task, unit.package_name);

	const ColdStart held = hold_cold_start_back(*stats, view.uid);
	copy_stats(unit.stats, *stats);
	if (emit)
		emit(unit);
	/* Counts that arrive between the copy and here are lost. */
	zero_stats(*stats);
	__builtin_memset(&unit, 0, sizeof(unit));
	give_cold_start_back(*stats, held);
}

} /* namespace zem */
