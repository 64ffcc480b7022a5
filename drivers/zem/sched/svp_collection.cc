// SPDX-License-Identifier: GPL-2.0
/*
 * svp_metrics_lock is held during a collection. A reader may end the collection early; the next
 * one includes the tasks that were not collected.
 */
#include "sched/svp_collection.h"

#include "kernel/atomic.h"
#include "kernel/llist.h"
#include "kernel/lock.h"
#include "platform/task_record.h"
#include "sched/svp_enrolment.h"

namespace zem {

namespace {

/* Serialises collections. */
constinit Mutex svp_metrics_lock;

/* The record of the task being collected. Locking: svp_metrics_lock. */
constinit zem_svp unit{};

/* The rest of a collection that ended early. Written under svp_metrics_lock. */
constinit llist_node *uncollected = nullptr;

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

void svp_collection_init()
{
	svp_metrics_lock.init("svp_metrics_lock");
}

task_ext *svp_collection_start()
{
	if (!has_enrolled() && !has_uncollected())
		return nullptr;
	svp_metrics_lock.lock();
	llist_node *taken = take_enrolled();
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
	take_svp_unit(record, unit, emit);
}

task_ext *svp_collection_next(task_ext &record)
{
	llist_node *next = llist_next(record.node);
	release_enrolled(record);
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

void svp_metrics_info_upload(Setter set)
{
	svp_metrics_info_iter([set](const zem_svp &svp) { upload(set, svp); });
}

} /* namespace zem */
