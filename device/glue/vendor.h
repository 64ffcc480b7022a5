/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What this glue knows of the device's kernel: its fields of tasks and bios, its CPUs, and which
 * tasks are important. ADAPT every function here; the other files need no change.
 *
 * A stock kernel has no such fields. stock_fields.c stores there what a device keeps in the task.
 */
#ifndef _ZEM_GLUE_VENDOR_H
#define _ZEM_GLUE_VENDOR_H

#include <linux/blk_types.h>
#include <linux/sched.h>
#include <linux/topology.h>
#include <linux/types.h>

struct task_ext;

#ifdef CONFIG_ANDROID_VENDOR_HOOKS

/* ADAPT: the vendor words of a task that no other module uses. */
#define VENDOR_TASK_WORD 60
#define VENDOR_IMPORTANT_WORD 61

/* Context: any. Caller holds rcu_read_lock(). Return: what was set last; NULL: nothing. */
static inline struct task_ext *vendor_task_record(struct task_struct *task)
{
	return (struct task_ext *)smp_load_acquire(&task->android_vendor_data1[VENDOR_TASK_WORD]);
}

/* Context: atomic; serialised for each task. Return: 0 or a negative error code. */
static inline int vendor_set_task_record(struct task_struct *task, struct task_ext *record)
{
	smp_store_release(&task->android_vendor_data1[VENDOR_TASK_WORD], (u64)record);
	return 0;
}

/* ADAPT: which tasks the device favours, such as those of the app that the user sees. */
static inline bool vendor_task_is_important(const struct task_struct *task)
{
	return READ_ONCE(task->android_vendor_data1[VENDOR_IMPORTANT_WORD]);
}

/* ADAPT: the process that submitted the bio. 0: unknown. Context: any. */
static inline pid_t vendor_bio_submitter(const struct bio *bio)
{
	return 0;
}

#else

struct task_ext *vendor_task_record(struct task_struct *task);
int vendor_set_task_record(struct task_struct *task, struct task_ext *record);

/* On a stock kernel: a task with a high priority (nice -10 or less). */
static inline bool vendor_task_is_important(const struct task_struct *task)
{
	return READ_ONCE(task->static_prio) <= DEFAULT_PRIO - 10;
}

static inline pid_t vendor_bio_submitter(const struct bio *bio)
{
	return 0;
}

#endif /* CONFIG_ANDROID_VENDOR_HOOKS */

/* ADAPT: kHz of each cluster, at which its cycles are counted. */
static const u64 vendor_ref_freq[2] = {2000000, 2800000};

/*
 * The cluster of a CPU, 0 or 1. zem has two. ADAPT for a device with three: choose the cluster
 * whose CPUs are most alike. Here the third cluster counts as the second.
 */
static inline u32 vendor_cluster(int cpu)
{
	return topology_physical_package_id(cpu) > 0;
}

/*
 * Whether zem may see the load of this CPU. zem looks up the CPU's package, and a package other
 * than 0 and 1 is a BUG(). So CPUs in a third package have no load of their own.
 */
static inline bool vendor_cpu_has_load(int cpu)
{
	int package = topology_physical_package_id(cpu);

	return package == 0 || package == 1;
}

#endif /* _ZEM_GLUE_VENDOR_H */
