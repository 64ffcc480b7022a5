/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The platform's record of every task except the idle tasks: the part that zem reads and writes,
 * and the platform's own part. A record is created with its task, and is found by the task's
 * address until the task has been released and an RCU grace period has passed.
 */
#ifndef _ZEM_PLATFORM_TASK_RECORDS_H
#define _ZEM_PLATFORM_TASK_RECORDS_H

#include <linux/compiler.h>
#include <linux/llist.h>
#include <linux/percpu.h>
#include <linux/types.h>

#include "clusters.h"
#include "contract.h"

struct dentry;

struct task_record {
	/* The record's task; an address of no task once the task has been released. */
	const void *key;
	struct hlist_node bucket_entry;

	/* Written by svp.c under its lock, read anywhere. */
	bool svp;
	bool pinned;
	bool in_top_app;

	/* live/sched.c; under the lock of the run queue that the task is on or leaves. */
	u8 activity;
	u64 runtime_before; /* ns: the task's runtime when it was switched in */
	u64 delay_seen; /* ns: the task's run delay at the last event */
	u64 blocked_since; /* ns, local_clock() */
	u64 block_before; /* ns: the kernel's sum of the task's blocked time at the switch out */
	u64 counted_until[CLUSTERS]; /* ns, local_clock(): counter D of each cluster */

	/* inject/iowait.c; under the task's pi_lock. */
	bool iowait_marked;

	struct llist_node released; /* task_records.c, after the task */

	struct task_ext ext;
	u64 load_block[PLATFORM_LOAD_WORDS]; /* ext.load_block points here */
};

/*
 * The record that each CPU found last, never NULL. The reader compares its key with the task. A
 * task that changes CPUs meanwhile may read another CPU's record, which is as good.
 */
DECLARE_PER_CPU(struct task_record *, task_record_last_found);

struct task_record *task_record_find_in_table(const struct task_struct *task);

/* Context: any. Caller holds rcu_read_lock(). Return: NULL if the task has no record. */
static __always_inline struct task_record *task_record_find(const struct task_struct *task)
{
	struct task_record *record = raw_cpu_read(task_record_last_found);

	if (likely(READ_ONCE(record->key) == task))
		return record;
	return task_record_find_in_table(task);
}

/*
 * The name in the record of a task without a package. It is not NULL, because zem's load record
 * would then keep the name of another task.
 */
extern const char no_package[];

int task_records_init(struct dentry *directory);

/* Frees all records. No probe of task_events.c may be attached any more. */
void task_records_exit(void);

/*
 * Context: any that may allocate atomically. Caller holds rcu_read_lock(), so that the task is not
 * released meanwhile. Return: the new record; NULL if the task has one already or memory is short.
 */
struct task_record *task_record_create(struct task_struct *task);

/* Removes the record of a task that is released. It is freed later. */
void task_record_release(const struct task_struct *task);

/* Calls @visit for each record whose task is not released, under a lock with interrupts off. */
void task_records_visit(void (*visit)(struct task_record *record));

/* Marks every record as unlisted, after the module that listed some is gone. May sleep. */
void task_records_unlist(void);

#endif /* _ZEM_PLATFORM_TASK_RECORDS_H */
