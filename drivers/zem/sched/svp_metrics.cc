// SPDX-License-Identifier: GPL-2.0
/*
 * SVP tasks enrol when they leave a CPU, under the run-queue lock. A collection takes the whole
 * list in one exchange, so a task that leaves a CPU during a collection enrols for the next one.
 */
#include "sched/svp_metrics.h"

#include "core/common/counters.h"
#include "kernel/api/slab.h"
#include "kernel/api/task.h"
#include "kernel/atomic.h"
#include "kernel/bounded_count.h"
#include "kernel/llist.h"
#include "kernel/lock.h"
#include "kernel/rcu.h"
#include "kernel/switch_file.h"
#include "kernel/task.h"
#include "kernel/tracepoint.h"
#include "platform/task_record.h"

/* The enrolled tasks. The list holds a reference to each. */
constinit llist_head record_svp_task_list{};

namespace zem {

namespace {

constinit StaticKey<true> svp_metrics_enable;

/* Serialises collections. */
constinit Mutex svp_metrics_lock;

/* The record of the task being collected. Locking: svp_metrics_lock. */
constinit zem_svp unit{};

/* The rest of a collection that ended early. Written under svp_metrics_lock. */
constinit llist_node *uncollected = nullptr;

/*
 * Each enrolled task is pinned until a collection, which may never happen. The bound keeps user
 * space from exhausting memory with short-lived tasks.
 */
constinit BoundedCount<8192> enrolled;

/* Return: the record of a task that is important by its own standing; null for any other. */
task_ext *record_of_orig_svp(task_struct *task)
{
	if (!task || !is_odd(test_task_orig_svp(task)))
		return nullptr;
	return record_of(task);
}

/*
 * Enrols a task unless it is listed. The exchange is the test: if two CPUs try concurrently, only
 * one puts the record on the list. Return: false if the bound on enrolled tasks is reached.
 */
bool enrol(task_ext &record, task_struct *task)
{
	llist_node *expected = TASK_EXT_UNLISTED;
	if (!try_cmpxchg_acquire(record.node.next, expected, nullptr))
		return true;
	if (!enrolled.take()) {
		smp_store_release(record.node.next, TASK_EXT_UNLISTED);
		return false;
	}
	/* A collector may drop the reference as soon as the record is on the list. */
	helper_get_task_struct(task);
	llist_add(record.node, record_svp_task_list);
	return true;
}

/* Once the record is unlisted, the platform may free it and the task may enrol again. */
void release(task_ext &record)
{
	task_struct *task = record.task;
	smp_store_release(record.node.next, TASK_EXT_UNLISTED);
	enrolled.put();
	helper_put_task_struct(task);
}

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

/* Return: list @first followed by list @second; either may be null. */
llist_node *joined(llist_node *first, llist_node *second)
{
	if (!first)
		return second;
	llist_node *last = first;
	while (llist_node *next = llist_next(*last))
		last = next;
	llist_set_next(*last, second);
	return first;
}

llist_node *take_uncollected()
{
	llist_node *rest = uncollected;
	write_once(uncollected, nullptr);
	return rest;
}

bool has_uncollected()
{
	return read_once(uncollected);
}

task_ext *record_at(llist_node *node)
{
	return node ? &record_of_node(*node) : nullptr;
}

/* Locking: caller holds svp_metrics_lock, and keeps it if the result is not null. */
task_ext *begin_at(llist_node *node)
{
	if (!node)
		svp_metrics_lock.unlock();
	return record_at(node);
}

} /* namespace */

constinit const proc_file svp_metrics_switch = switch_over(svp_metrics_enable);

task_ext *svp_collection_start()
{
	if (llist_empty(record_svp_task_list) && !has_uncollected())
		return nullptr;
	svp_metrics_lock.lock();
	llist_node *taken = llist_del_all(record_svp_task_list);
	return begin_at(joined(taken, take_uncollected()));
}

task_ext *svp_collection_resume()
{
	if (!has_uncollected())
		return nullptr;
	svp_metrics_lock.lock();
	return begin_at(take_uncollected());
}

void svp_collect(task_ext &record, SvpEmit emit)
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

task_ext *svp_collection_next(task_ext &record)
{
	llist_node *next = llist_next(record.node);
	release(record);
	return record_at(next);
}

void svp_collection_end(task_ext *rest)
{
	if (rest)
		write_once(uncollected, &rest->node);
	svp_metrics_lock.unlock();
}

void svp_metrics_info_iter(SvpEmit emit)
{
	task_ext *record = svp_collection_start();
	if (!record)
		return;
	for (; record; record = svp_collection_next(*record))
		svp_collect(*record, emit);
	svp_collection_end(nullptr);
}

namespace {

/* A task leaves its CPU. Context: run-queue lock held. */
void android_vh_sched_info_depart_handler(void *, task_struct *task, u64)
{
	if (!svp_metrics_enable.is_on())
		return;
	task_ext *record = record_of_orig_svp(task);
	if (record && !enrol(*record, task))
		count(Counter::kSvpTasksRefused);
}

/*
 * A task becomes important. Without memory it gets no counters.
 * Context: atomic, but not under a run-queue lock: an allocation may wake another task.
 */
void android_vh_rs_warn_set_svp_task_handler(void *, task_struct *task)
{
	if (!svp_metrics_enable.is_on())
		return;
	task_ext *record = record_of_orig_svp(task);
	if (!record || smp_load_acquire(record->svp_stats))
		return;

	auto *stats = static_cast<zem_svp_stats *>(helper_kzalloc_atomic(sizeof(zem_svp_stats)));
	zem_svp_stats *expected = nullptr;
	/* Two CPUs may see the task become important concurrently: the second block is freed. */
	if (!try_cmpxchg_release(record->svp_stats, expected, stats))
		kfree(stats);
}

constinit ProbeSlot depart_probe;
constinit ProbeSlot set_svp_probe;

} /* namespace */

void svp_metrics_info_upload(Setter set)
{
	svp_metrics_info_iter([set](const zem_svp &svp) { upload(set, svp); });
}

int svp_metrics_init()
{
	svp_metrics_lock.init("svp_metrics_lock");
	depart_probe.attach(&__tracepoint_android_vh_sched_info_depart,
			    android_vh_sched_info_depart_handler);
	set_svp_probe.attach(&__tracepoint_android_vh_rs_warn_set_svp_task,
			     android_vh_rs_warn_set_svp_task_handler);
	return proc_svp_metrics_init();
}

/* Releases the enrolled tasks after the last handler: their references would outlive the list. */
void svp_metrics_destroy()
{
	proc_svp_metrics_destroy();
	depart_probe.detach();
	set_svp_probe.detach();
	helper_tracepoint_synchronize_unregister();
	svp_metrics_info_iter(nullptr);
}

} /* namespace zem */
