/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What zem imports of its platform, and nothing else: on a device from the kernel and its vendor
 * modules, on a stock kernel from zem_platform.ko. For C, after the kernel's own headers, and C++.
 */
#ifndef _ZEM_PLATFORM_CONTRACT_H
#define _ZEM_PLATFORM_CONTRACT_H

#include "../kernel/api/llist.h"
#include "../kernel/api/types.h"

ZEM_API_BEGIN

struct task_struct;
struct tracepoint;
struct zem_svp_stats;

/* The value of task_ext.node.next while the record is on no list: the kernel's LIST_POISON1. */
#define TASK_EXT_UNLISTED ((struct llist_node *)0xdead000000000100ul)

/*
 * The platform's record of a task. The platform makes it, and keeps it until the task has been
 * released, the record is not listed, and no RCU reader sees it any more; then it frees
 * @package_name, @svp_stats and @load_block with it. A reference on the task does not keep it.
 */
struct task_ext {
	struct task_struct *task;
	/* NUL-terminated, on the leader's record; may be NULL. Read under rcu_read_lock(). */
	const char *package_name;
	u32 flags;
	u32 svp_marker;
	u64 pending_run_delay; /* ns */
	struct llist_node node; /* made with next == TASK_EXT_UNLISTED */
	struct zem_svp_stats *svp_stats; /* NULL until zem allocates it, by kzalloc() */
	u64 *load_block; /* 16 values, or NULL */
	u64 previous_denominators[2];
	u64 counter_a[2];
	u64 counter_b[2];
	u64 counter_c[2];
	u64 counter_d[2];
};

/*
 * Any context, by an RCU reader: of a task that is being released the record stays for a grace
 * period. Return: the record, with acquire semantics; NULL or an error value: none.
 */
struct task_ext *platform_task_ext(struct task_struct *task);

/* Any context. Return: odd when the task is important now, and by its own standing. */
int test_task_svp(struct task_struct *task);
int test_task_orig_svp(struct task_struct *task);

/* Any context. @third: the uid of the app that is starting, -1 when none is. */
void test_app_starting_simple(int *first, int *second, int *third);

/* Per-CPU: time in hard interrupts since boot, ns. */
#ifdef __cplusplus
extern u64 cpu_irqtime;
#endif

/* The zero-page daemon's counters, each a 32-bit atomic. */
#ifdef __cplusplus
extern int kzerod_zero_page_alloc_failed;
extern int kzerod_zero_page_alloc_prezero;
extern int kzerod_zero_page_list_alloc_total;
extern int kzerod_zero_page_list_breakdown_total;
extern int kzerod_zero_page_list_drain_total;
#endif

/*
 * Hooks. Arguments of a probe, behind the pointer that it was registered with:
 *	android_vh_sched_info_depart(task, u64 runtime)			ns, under the run-queue lock
 *	android_vh_rs_warn_set_svp_task(task)				atomic context
 *	android_rvh_sched_info_dequeued(task, u64 delay)		ns, under the run-queue lock
 *	android_rvh_sched_info_arrive(task, u64 ignored, u64 delay)	ns, under the run-queue lock
 *	android_rvh_irqtime_account_hardirq(u64 delta)			ns, hard interrupt
 *	android_vh_task_d_state_dura_record(task, u64 duration)		ns, under the run-queue lock
 * Probes that zem leaves attached are taken off by the platform after zem has gone.
 */
extern struct tracepoint __tracepoint_android_vh_sched_info_depart;
extern struct tracepoint __tracepoint_android_vh_rs_warn_set_svp_task;
extern struct tracepoint __tracepoint_android_rvh_sched_info_dequeued;
extern struct tracepoint __tracepoint_android_rvh_sched_info_arrive;
extern struct tracepoint __tracepoint_android_rvh_irqtime_account_hardirq;
extern struct tracepoint __tracepoint_android_vh_task_d_state_dura_record;

/*
 * Attaches the one probe that a restricted hook can have, for ever.
 * Return: 0; -EBUSY when it has one. May sleep.
 */
int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data);

ZEM_API_END

#endif /* _ZEM_PLATFORM_CONTRACT_H */
