/* SPDX-License-Identifier: GPL-2.0 */
/* The parts of the glue. Each init() returns 0 or a negative error code. May sleep. */
#ifndef _ZEM_GLUE_H
#define _ZEM_GLUE_H

#include <linux/llist.h>
#include <linux/types.h>

#include "contract.h"

struct module;

/* What this glue knows of a task, from the task's start until after its end. */
struct task_record {
	struct task_ext ext;
	u64 load_block[PLATFORM_LOAD_WORDS]; /* ext.load_block points here */
	struct list_head list; /* task_records.c, under its lock */

	/* runs.c; under the lock of the run queue that the task is on or leaves. */
	bool is_running;
	u64 runtime_before; /* ns: the task's runtime when it was switched in */
	u64 counted_until[2]; /* ns, local_clock(): counter D of each cluster */
};

int task_records_init(void);
void task_records_exit(void);

/* Context: any. Caller holds rcu_read_lock(). Return: NULL if the task has no record. */
struct task_record *task_record_find(struct task_struct *task);

/* Drops the references that a module took when it listed records. The module is gone. */
void task_records_unlist(void);

/* The clusters. Before zem is loaded. */
void clusters_init(void);

/* Return: @ns on a CPU of the cluster, in cycles. Context: any. */
u64 cluster_cycles(u32 cluster, u64 ns);

/* Passes on what a task has run. Context: run-queue lock. */
void load_feed(struct task_struct *task, u32 cluster, u64 cycles);
/* Forgets the load feed's function if it is code of the module. */
void load_feed_release(const struct module *module);

int irq_time_init(void);
void irq_time_exit(void);

int runs_init(void);
void runs_exit(void);

/* Releases what zem leaves behind after a failed load or an unload. */
int cleanup_init(void);
void cleanup_exit(void);

#endif /* _ZEM_GLUE_H */
