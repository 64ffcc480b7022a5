/* SPDX-License-Identifier: GPL-2.0 */
/* The collection of the enrolled SVP tasks, which converts each of them to a record. */
#pragma once

#include "core/common/setter.h"
#include "sched/svp_unit.h"

struct task_ext;

namespace zem {

/* Call before any other function of this file. */
void svp_collection_init();

/*
 * One collection, task by task, most recent first:
 *
 *	for (record = svp_collection_start(); record; record = svp_collection_next(*record))
 *		svp_collect(*record, emit);
 *	svp_collection_end(record);
 *
 * Context: process; each may sleep.
 * Locking: svp_metrics_lock is held while a collection has a record, and until its end.
 */

/*
 * Takes all enrolled tasks off the list.
 * Return: the record of the first task; null if no task has enrolled, and then there is nothing to
 * end.
 */
[[nodiscard]] task_ext *svp_collection_start();
/* Return: the record at which a collection ended early; null as above. */
[[nodiscard]] task_ext *svp_collection_resume();
/* Passes the task's record to @emit and zeroes the task's counters. */
void svp_collect(task_ext &record, SvpEmit emit);
/* Releases the task of @record. Return: the record of the next task, or null. */
[[nodiscard]] task_ext *svp_collection_next(task_ext &record);
/* @rest: the first record that was not collected, or null. The next collection includes it. */
void svp_collection_end(task_ext *rest);

/* Collects every enrolled task. Context: may sleep. */
void svp_metrics_info_iter(SvpEmit emit);

/* Uploads a record for each task through @set; null: only zeroes the counters. */
void svp_metrics_info_upload(Setter set);

} /* namespace zem */
