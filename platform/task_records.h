/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The platform's own record of every task but the idle ones: what zem sees of it, and what the
 * platform keeps beside. A record is made when its task is, and is found by the task's address
 * until the task has been released and an RCU grace period is over.
 */
#ifndef _ZEM_PLATFORM_TASK_RECORDS_H
#define _ZEM_PLATFORM_TASK_RECORDS_H

#include <linux/compiler.h>
#include <linux/llist.h>
#include <linux/percpu.h>
#include <linux/types.h>

#include "clusters.h"
#include "contract.h"

struct task_record {
	/* Whose record it is; no task's once its task has been released. */
	const void *key;
	struct hlist_node bucket_entry;

	/* svp.c; written under its lock, read by anyone. */
	bool svp;
	bool pinned;
	bool in_top_app;

	/* live_sched.c; under the lock of the run queue that the task is on or comes from. */
	u8 activity;
	u64 runtime_before; /* ns: what the task had run when it was switched in */
	u64 delay_seen; /* ns: what it had waited when it was last looked at */
	u64 blocked_since; /* ns, local_clock() */
	u64 counted_until[CLUSTERS]; /* ns, local_clock(): where counter D of each cluster is */

	/* iowait.c; under the task's pi_lock. */
	bool iowait_marked;

	struct llist_node released; /* task_records.c, after the task */

	struct task_ext ext;
	u64 load_block[PLATFORM_LOAD_WORDS]; /* ext.load_block points to it */
};

/*
 * The record that was last found on each CPU, never NULL. Its key tells whether it is the one that
 * is asked for. On the way to it a task may change CPUs: any CPU's is as good.
 */
DECLARE_PER_CPU(struct task_record *, task_record_last_found);

struct task_record *task_record_find_in_table(const struct task_struct *task);

/* Any context, by an RCU reader. Return: NULL when the task has none. */
static __always_inline struct task_record *task_record_find(const struct task_struct *task)
{
	struct task_record *record = raw_cpu_read(task_record_last_found);

	if (likely(READ_ONCE(record->key) == task))
		return record;
	return task_record_find_in_table(task);
}

/*
 * The name in the record of a task that belongs to no package. A record without a name would let
 * zem's load record keep the name of another task.
 */
extern const char no_package[];

/* Calls @visit for each record whose task is not released, under a lock with interrupts off. */
void task_records_visit(void (*visit)(struct task_record *record));

/* What was listed by a module that has gone is on no list any more. May sleep. */
void task_records_unlist(void);

#endif /* _ZEM_PLATFORM_TASK_RECORDS_H */
