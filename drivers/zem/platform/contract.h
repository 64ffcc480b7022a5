/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Everything that zem imports from its platform. On a device the kernel and its vendor modules
 * provide it; on a stock kernel zem_platform.ko does. For C++ and for C: a definition in C whose
 * type is not that of the import does not compile after this header.
 */
#ifndef _ZEM_PLATFORM_CONTRACT_H
#define _ZEM_PLATFORM_CONTRACT_H

#if defined(__KERNEL__) && !defined(__cplusplus)
#include <linux/atomic.h>
#include <linux/list.h>
#include <linux/llist.h>
#include <linux/percpu.h>
#include <linux/types.h>
#endif

#include "../kernel/api/list.h"
#include "../kernel/api/llist.h"
#include "../kernel/api/types.h"

ZEM_API_BEGIN

struct bio;
struct block_device;
struct cgroup_subsys_state;
struct kiocb;
struct task_struct;
struct tracepoint;
struct zem_svp_stats;

/* The value of task_ext.node.next while the record is on no list: the kernel's LIST_POISON1. */
#define TASK_EXT_UNLISTED ((struct llist_node *)0xdead000000000100ul)

/*
 * The platform's record of a task. The platform allocates it, and keeps it until the task has been
 * released, the record is not listed, and no RCU reader can see it. It then frees @package_name,
 * @svp_stats and @load_block with the record. A reference to the task does not keep the record.
 */
struct task_ext {
	struct task_struct *task;
	/*
	 * NUL-terminated, on the leader's record. Read under rcu_read_lock(). Empty for a task
	 * without a package: with NULL, a load record would have the name of the task before it.
	 */
	const char *package_name;
	u32 flags;
	u32 svp_marker;
	u64 pending_run_delay; /* ns */
	struct llist_node node; /* initialised with next == TASK_EXT_UNLISTED */
	struct zem_svp_stats *svp_stats; /* NULL until zem allocates it with kzalloc() */
	u64 *load_block; /* PLATFORM_LOAD_WORDS values, initially zero; or NULL */
	/*
	 * For each cluster. The first belongs to zem. The platform writes the others, which never
	 * decrease. zem divides a by d, so a is in cycles, and d in ns of the same time.
	 */
	u64 previous_denominators[2];
	u64 counter_a[2];
	u64 counter_b[2];
	u64 counter_c[2];
	u64 counter_d[2];
};

#define PLATFORM_LOAD_WORDS 16

/* One of two groups of CPUs of the same kind. Its index is their package in cpu_topology. */
struct platform_cluster {
	struct list_head list;
	u32 index; /* 0 or 1 */
	u64 ref_freq; /* kHz; 0: unknown */
};

/* The clusters. Must be complete before zem is loaded. */
extern struct list_head cluster_head;

/*
 * The record of a task that is being released stays for a grace period.
 * Context: any. Locking: caller holds rcu_read_lock().
 * Return: the record, with acquire semantics; NULL or an error value without one.
 */
struct task_ext *platform_task_ext(struct task_struct *task);

/* Return: odd if the task is important now, or by its own standing. Context: any. */
int test_task_svp(struct task_struct *task);
int test_task_orig_svp(struct task_struct *task);

/* @third: the UID of the app that is starting; -1: none. Context: any. */
void test_app_starting_simple(int *first, int *second, int *third);

/* C++ has neither the kernel's per-CPU variables nor its atomics: it reads the first by address. */
#ifdef __cplusplus
#define PLATFORM_PER_CPU(type, name) extern type name
#define PLATFORM_ATOMIC int
#else
#define PLATFORM_PER_CPU(type, name) DECLARE_PER_CPU(type, name)
#define PLATFORM_ATOMIC atomic_t
#endif

/* ns in hard interrupts since boot. */
PLATFORM_PER_CPU(u64, cpu_irqtime);

/* The zero-page daemon's counters. */
extern PLATFORM_ATOMIC kzerod_zero_page_alloc_failed;
extern PLATFORM_ATOMIC kzerod_zero_page_alloc_prezero;
extern PLATFORM_ATOMIC kzerod_zero_page_list_alloc_total;
extern PLATFORM_ATOMIC kzerod_zero_page_list_breakdown_total;
extern PLATFORM_ATOMIC kzerod_zero_page_list_drain_total;

#undef PLATFORM_PER_CPU
#undef PLATFORM_ATOMIC

/*
 * The load feed. @fn is called when a task has run, under the run-queue lock, with the cycles on
 * that cluster at the cluster's reference frequency. After unregistration @fn is not running any
 * more. Context: may sleep.
 */
void register_load_stat_proc_runtime(void (*fn)(struct task_struct *task, u32 cluster, u64 delta));
void unregister_load_stat_proc_runtime(void);

/*
 * A CPU's activity: @out[0] cycles in which it was not idle, @out[1] the time of the sample in ns.
 * @which is 0. Context: must not sleep; interrupts are on. Return: 0, or an error code with @out
 * unchanged.
 *
 * @cpu is 0 to 7, whether or not the CPU exists. For a CPU that is absent, or never came up, set
 * @out to 0, 0 and return 0. After an error zem would use the values of the previous CPU, and a CPU
 * without topology is in neither cluster, which is a BUG().
 */
int morva_amu_read(int cpu, int which, u64 out[2]);

/*
 * Return: the cpu controller's css with that id, or NULL.
 * Context: any. Locking: caller holds rcu_read_lock().
 */
struct cgroup_subsys_state *platform_cpu_css_from_id(int id);

/*
 * While a hook of a bio runs, bit 13 of its flags is zem's mark, and its stamp (BIO_STAMP of
 * kernel/helpers/compat.h) has the time and size at its submission. A platform whose kernel uses
 * either for something else lends them to zem: it keeps the mark and the stamp between two hooks,
 * and restores the kernel's values after each.
 */

/* @bio has been submitted. Return: the submitter's pid; 0: unknown. Context: any. */
int platform_bio_submitter(const struct bio *bio);

/* Opens a device by number without claiming it. Return: NULL if none. Context: may sleep. */
struct block_device *platform_bdev_get_no_open(u32 device);
void platform_bdev_put_no_open(struct block_device *device);

/*
 * Fills the last ZEM_IO_TAIL bytes of the IO snapshot, a struct zem_kio, with the data of the
 * collector of long IO waits. Context: may sleep.
 */
void gather_long_iowait_file(void *kioind);

/*
 * The hooks, X(name, attach, parameters, arguments) for each. A probe receives the pointer that it
 * was registered with, then @parameters; times are in ns. @attach registers a probe: a restricted
 * hook ("rvh") has only one, which nothing can detach, so zem attaches it when its start-up cannot
 * fail any more. zem leaves most probes attached. The platform detaches them when zem is unloaded;
 * if it cannot (CONFIG_ANDROID_VENDOR_HOOKS), zem pins itself and cannot be unloaded.
 */
/* clang-format off */
#define PLATFORM_VENDOR_HOOKS(X) \
	/* Under the run-queue lock. */ \
	X(android_vh_sched_info_depart, tracepoint_probe_register, \
	  (struct task_struct *task, u64 runtime), (task, runtime)) \
	X(android_rvh_sched_info_dequeued, android_rvh_probe_register, \
	  (struct task_struct *task, u64 delay), (task, delay)) \
	X(android_rvh_sched_info_arrive, android_rvh_probe_register, \
	  (struct task_struct *task, u64 ignored, u64 delay), (task, ignored, delay)) \
	X(android_vh_task_d_state_dura_record, tracepoint_probe_register, \
	  (struct task_struct *task, u64 duration), (task, duration)) \
	X(android_vh_sched_stat_blocked, tracepoint_probe_register, \
	  (struct task_struct *task, u64 delay), (task, delay)) \
	/* In a hard interrupt. */ \
	X(android_rvh_irqtime_account_hardirq, android_rvh_probe_register, (u64 delta), (delta)) \
	/* Atomic, not under a run-queue lock. */ \
	X(android_vh_rs_warn_set_svp_task, tracepoint_probe_register, \
	  (struct task_struct *task), (task)) \
	/* In the submitter's process. */ \
	X(android_vh_blk_bio_submit_record_task, tracepoint_probe_register, \
	  (struct bio *bio), (bio)) \
	/* In process context. */ \
	X(android_vh_task_rchar, tracepoint_probe_register, \
	  (struct kiocb *kiocb, struct task_struct *task, s64 bytes), (kiocb, task, bytes)) \
	X(android_vh_task_wchar, tracepoint_probe_register, \
	  (struct kiocb *kiocb, struct task_struct *task, s64 bytes), (kiocb, task, bytes)) \
	/* In any context. */ \
	X(android_vh_blk_bio_clone_flag, tracepoint_probe_register, \
	  (struct bio *clone, struct bio *source), (clone, source)) \
	X(android_vh_blk_bio_endio_record_bi_issue, tracepoint_probe_register, \
	  (struct bio *bio), (bio)) \
	X(android_vh_usb_zem_set, tracepoint_probe_register, \
	  (void *pointer, int type), (pointer, type))

/* The scheduler's own events, under the run-queue lock. A stock kernel does not export them. */
#define PLATFORM_SCHED_STAT_HOOKS(X) \
	X(sched_stat_wait, tracepoint_probe_register, \
	  (struct task_struct *task, u64 delay), (task, delay)) \
	X(sched_stat_blocked, tracepoint_probe_register, \
	  (struct task_struct *task, u64 delay), (task, delay))

#define PLATFORM_HOOKS(X) PLATFORM_VENDOR_HOOKS(X) PLATFORM_SCHED_STAT_HOOKS(X)
/* clang-format on */

#define PLATFORM_DECLARE_HOOK(name, attach, parameters, arguments) \
	extern struct tracepoint __tracepoint_##name;
PLATFORM_HOOKS(PLATFORM_DECLARE_HOOK)
#undef PLATFORM_DECLARE_HOOK

/*
 * The type of each hook's probes. With the header that declares the kernel's hook,
 * check_trace_callback_type_NAME((platform_probe_NAME *)NULL) compiles only if the hook has the
 * arguments that zem expects.
 */
#ifndef __cplusplus
#define PLATFORM_PARAMETERS(...) __VA_ARGS__
#define PLATFORM_DECLARE_PROBE(name, attach, parameters, arguments) \
	typedef void platform_probe_##name(void *data, PLATFORM_PARAMETERS parameters);
PLATFORM_HOOKS(PLATFORM_DECLARE_PROBE)
#undef PLATFORM_DECLARE_PROBE
#undef PLATFORM_PARAMETERS
#endif

/*
 * Attaches the only probe of a restricted hook, permanently. Context: may sleep.
 * Return: 0; -EBUSY if the hook has a probe.
 */
int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data);

ZEM_API_END

#endif /* _ZEM_PLATFORM_CONTRACT_H */
