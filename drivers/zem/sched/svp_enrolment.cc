// SPDX-License-Identifier: GPL-2.0
/*
 * SVP tasks enrol when they leave a CPU, under the run-queue lock. A collection takes the whole
 * list in one exchange, so a task that leaves a CPU during a collection enrols for the next one.
 */
#include "sched/svp_enrolment.h"

#include "core/common/counters.h"
#include "kernel/api/slab.h"
#include "kernel/api/task.h"
#include "kernel/atomic.h"
#include "kernel/bounded_count.h"
#include "kernel/llist.h"
#include "kernel/switch_file.h"
#include "kernel/tracepoint.h"
#include "platform/task_record.h"
#include "uapi/linux/zem.h"

/* The enrolled tasks. The list holds a reference to each. */
constinit llist_head record_svp_task_list{};

namespace zem {

namespace {

constinit StaticKey<true> svp_metrics_enable;

/*
 * Each enrolled task is pinned until a collection, which may never happen. The bound keeps user
 * space from exhausting memory with short-lived tasks.
 */
constinit BoundedCount<8192> enrolled;

/* Return: the record of a task that is important by its own standing; null for any other. */
[[gnu::always_inline]] inline task_ext *record_of_orig_svp(task_struct *task)
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

constinit const proc_file svp_metrics_switch = switch_over(svp_metrics_enable);

void svp_enrolment_attach()
{
	depart_probe.attach(&__tracepoint_android_vh_sched_info_depart,
			    android_vh_sched_info_depart_handler);
	set_svp_probe.attach(&__tracepoint_android_vh_rs_warn_set_svp_task,
			     android_vh_rs_warn_set_svp_task_handler);
}

void svp_enrolment_detach()
{
	depart_probe.detach();
	set_svp_probe.detach();
	helper_tracepoint_synchronize_unregister();
}

bool has_enrolled()
{
	return !llist_empty(record_svp_task_list);
}

llist_node *take_enrolled()
{
	return llist_del_all(record_svp_task_list);
}

void release_enrolled(task_ext &record)
{
	task_struct *task = record.task;
	smp_store_release(record.node.next, TASK_EXT_UNLISTED);
	enrolled.put();
	helper_put_task_struct(task);
}

} /* namespace zem */
