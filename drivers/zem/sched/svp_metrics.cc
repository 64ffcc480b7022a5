// SPDX-License-Identifier: GPL-2.0
/*
 * SVP tasks enrol as they leave a CPU, under the run-queue lock; the collector takes the whole list
 * at once, so that a task which departs meanwhile enrols for the next collection.
 */
#include "sched/svp_metrics.h"

#include "kernel/api/slab.h"
#include "kernel/api/task.h"
#include "kernel/counter.h"
#include "kernel/llist.h"
#include "kernel/lock.h"
#include "kernel/rcu.h"
#include "kernel/task.h"
#include "kernel/tracepoint.h"
#include "sched/task_record.h"

/* The tasks that wait to be collected, each with a reference. */
constinit llist_head record_svp_task_list{};

namespace zem {

constinit StaticKey<true> svp_metrics_enable;

namespace {

/* Serialises collections. */
constinit Mutex svp_metrics_lock;

/* The record being made; under svp_metrics_lock. */
constinit zem_svp unit{};

/* Return: the record of a task that is important by its own standing; null for any other. */
task_ext *record_of_svp(task_struct *task)
{
	if (!task || !is_odd(test_task_orig_svp(task)))
		return nullptr;
	return record_of(task);
}

/* At most one of several that try puts the record on the list. */
void enrol(task_ext &record, task_struct *task)
{
	llist_node *expected = TASK_EXT_UNLISTED;
	if (!__atomic_compare_exchange_n(&record.node.next, &expected,
					 static_cast<llist_node *>(nullptr), false,
					 __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
		return;
	helper_get_task_struct(task);
	llist_push(record_svp_task_list, record.node);
}

/* The task may enrol again from here on, and its record may go with it. */
void release(task_ext &record)
{
	task_struct *task = record.task;
	__atomic_store_n(&record.node.next, TASK_EXT_UNLISTED, __ATOMIC_RELEASE);
	helper_put_task_struct(task);
}

/* A task that is not dead in the RCU section still has its leader there. */
void copy_group_package(task_struct *task, char (&name)[32])
{
	RcuReadGuard guard;
	if (!task_has_exited(task))
		copy_package_name(record_of(task_group_leader(task)), name);
}

/* The counters go on counting meanwhile: each word is read, or zeroed, whole. */
using StatsWord [[gnu::may_alias]] = u64;
constexpr size_t kStatsWords = sizeof(zem_svp_stats) / sizeof(StatsWord);
static_assert(kStatsWords * sizeof(StatsWord) == sizeof(zem_svp_stats));

void copy_stats(zem_svp_stats &to, const zem_svp_stats &from)
{
	auto *target = reinterpret_cast<StatsWord *>(&to);
	const auto *source = reinterpret_cast<const StatsWord *>(&from);
	for (size_t i = 0; i < kStatsWords; i++)
		target[i] = __atomic_load_n(&source[i], __ATOMIC_ACQUIRE);
}

void zero_stats(zem_svp_stats &stats)
{
	auto *words = reinterpret_cast<StatsWord *>(&stats);
	for (size_t i = 0; i < kStatsWords; i++)
		__atomic_store_n(&words[i], StatsWord{0}, __ATOMIC_RELAXED);
}

/* IO waits of an app's cold start, held back until the start has ended. */
struct ColdStart {
	u64 iowait;
	u32 count;
};

ColdStart hold_cold_start_back(zem_svp_stats &stats, unsigned int uid)
{
	int first, second, starting_uid;
	test_app_starting_simple(&first, &second, &starting_uid);
	if (static_cast<unsigned int>(starting_uid) != uid)
		return {0, 0};
	return {
		.iowait = __atomic_exchange_n(&stats.iowait_coldstart, u64{0}, __ATOMIC_ACQ_REL),
		.count = __atomic_exchange_n(&stats.iowait_coldstart_cnt, u32{0}, __ATOMIC_ACQ_REL),
	};
}

void give_cold_start_back(zem_svp_stats &stats, ColdStart held)
{
	if (!held.iowait)
		return;
	atomic_add(stats.iowait_coldstart, held.iowait);
	atomic_add(stats.iowait_coldstart_cnt, held.count);
}

void collect(task_ext &record, const SvpVisitor *visitor)
{
	zem_svp_stats *stats = __atomic_load_n(&record.svp_stats, __ATOMIC_ACQUIRE);
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
	if (visitor)
		visitor->visit(unit, visitor->context);
	/* What is counted between the copy and here is lost. */
	zero_stats(*stats);
	__builtin_memset(&unit, 0, sizeof(unit));
	give_cold_start_back(*stats, held);
}

/* Return: whether the visitor left the tasks from @first on where they were. */
bool put_back_unless_wanted(llist_node &first, const SvpVisitor *visitor)
{
	if (!visitor || !visitor->begin)
		return false;
	size_t tasks = 1;
	llist_node *last = &first;
	while (llist_node *next = llist_next(*last)) {
		last = next;
		tasks++;
	}
	if (visitor->begin(tasks, visitor->context))
		return false;
	llist_push_chain(record_svp_task_list, first, *last);
	return true;
}

} /* namespace */

void svp_metrics_info_iter(const SvpVisitor *visitor)
{
	if (llist_is_empty(record_svp_task_list))
		return;

	LockGuard guard(svp_metrics_lock);
	llist_node *node = llist_take_all(record_svp_task_list);
	if (!node || put_back_unless_wanted(*node, visitor))
		return;
	while (node) {
		task_ext &record = record_of_node(*node);
		node = llist_next(*node);
		collect(record, visitor);
		release(record);
	}
}

namespace {

/* @context is the address of a Setter. */
void svp_metrics_info_upload_each(const zem_svp &svp, void *context)
{
	(*static_cast<const Setter *>(context))(0, &svp, sizeof(svp), 0);
}

/* Under the run-queue lock: a task that leaves its CPU. */
void android_vh_sched_info_depart_handler(void *, task_struct *task, u64)
{
	if (!svp_metrics_enable.is_on())
		return;
	task_ext *record = record_of_svp(task);
	if (record && __atomic_load_n(&record->node.next, __ATOMIC_RELAXED) == TASK_EXT_UNLISTED)
		enrol(*record, task);
}

/* Atomic context: a task that becomes important. Without memory it has no counters. */
void android_vh_rs_warn_set_svp_task_handler(void *, task_struct *task)
{
	if (!svp_metrics_enable.is_on())
		return;
	task_ext *record = record_of_svp(task);
	if (!record || __atomic_load_n(&record->svp_stats, __ATOMIC_ACQUIRE))
		return;

	auto *stats = static_cast<zem_svp_stats *>(helper_kzalloc_atomic(sizeof(zem_svp_stats)));
	zem_svp_stats *expected = nullptr;
	/* Two CPUs may see the task become important at once: the second block goes again. */
	if (!__atomic_compare_exchange_n(&record->svp_stats, &expected, stats, false,
					 __ATOMIC_RELEASE, __ATOMIC_RELAXED))
		kfree(stats);
}

constinit ProbeSlot depart_probe;
constinit ProbeSlot set_svp_probe;

} /* namespace */

void svp_metrics_info_upload(Setter set)
{
	const SvpVisitor uploader{
		.begin = nullptr,
		.visit = svp_metrics_info_upload_each,
		.context = &set,
	};
	svp_metrics_info_iter(set ? &uploader : nullptr);
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

/* The enrolled tasks are let go: their references would outlive the list. */
void svp_metrics_destroy()
{
	proc_svp_metrics_destroy();
	depart_probe.detach();
	set_svp_probe.detach();
	helper_tracepoint_synchronize_unregister();
	svp_metrics_info_iter(nullptr);
}

} /* namespace zem */
