// SPDX-License-Identifier: GPL-2.0
/* The clusters, the activity of the CPUs, the load feed, and the cpu controller's groups. */
#include <linux/cgroup.h>
#include <linux/cpumask.h>
#include <linux/errno.h>
#include <linux/export.h>
#include <linux/idr.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/math64.h>
#include <linux/module.h>
#include <linux/rcupdate.h>
#include <linux/sched/task.h>
#include <linux/tick.h>

#include "glue.h"
#include "vendor.h"

#define CLUSTERS ARRAY_SIZE(vendor_ref_freq)
#define KHZ_NS 1000000
#define CPUS_WITH_ACTIVITY 8

LIST_HEAD(cluster_head);
EXPORT_SYMBOL_GPL(cluster_head);

static struct platform_cluster clusters[CLUSTERS];

void clusters_init(void)
{
	for (u32 i = 0; i < CLUSTERS; i++) {
		clusters[i].index = i;
		clusters[i].ref_freq = vendor_ref_freq[i];
		list_add_tail(&clusters[i].list, &cluster_head);
	}
}

u64 cluster_cycles(u32 cluster, u64 ns)
{
	return mul_u64_u64_div_u64(ns, vendor_ref_freq[cluster], KHZ_NS);
}

/*
 * The values of the last call. They are also those of a CPU that is offline now, and 0 of one that
 * was never online. zem serialises its calls.
 */
static u64 activity[CPUS_WITH_ACTIVITY][2];

/* ADAPT: read the CPU's activity counters. The idle time is coarser, and is the same in effect. */
static void update_activity(int cpu)
{
	u64 idle = get_cpu_idle_time_us(cpu, NULL);
	u64 now = ktime_get_ns();
	u64 cycles;

	if (idle == -1ULL || now <= idle * NSEC_PER_USEC)
		return;
	cycles = cluster_cycles(vendor_cluster(cpu), now - idle * NSEC_PER_USEC);
	activity[cpu][0] = max(activity[cpu][0], cycles);
	activity[cpu][1] = now;
}

int morva_amu_read(int cpu, int which, u64 out[2])
{
	if (which || cpu < 0 || cpu >= CPUS_WITH_ACTIVITY)
		return -EINVAL;
	if (cpu < nr_cpu_ids && cpu_online(cpu) && vendor_cpu_has_load(cpu))
		update_activity(cpu);
	out[0] = activity[cpu][0];
	out[1] = activity[cpu][1];
	return 0;
}
EXPORT_SYMBOL_GPL(morva_amu_read);

typedef void (*load_listener)(struct task_struct *task, u32 cluster, u64 delta);

/* Called with preemption off, which is an RCU read-side section. */
static load_listener listener;

void register_load_stat_proc_runtime(load_listener fn)
{
	WRITE_ONCE(listener, fn);
}
EXPORT_SYMBOL_GPL(register_load_stat_proc_runtime);

void unregister_load_stat_proc_runtime(void)
{
	WRITE_ONCE(listener, NULL);
	synchronize_rcu();
}
EXPORT_SYMBOL_GPL(unregister_load_stat_proc_runtime);

void load_feed(struct task_struct *task, u32 cluster, u64 cycles)
{
	load_listener fn = READ_ONCE(listener);

	if (fn)
		fn(task, cluster, cycles);
}

void load_feed_release(const struct module *module)
{
	if (within_module((unsigned long)READ_ONCE(listener), module))
		unregister_load_stat_proc_runtime();
}

/* ADAPT: css_from_id(id, &cpu_cgrp_subsys), if the device's kernel exports both. */
struct cgroup_subsys_state *platform_cpu_css_from_id(int id)
{
	struct cgroup_subsys_state *of_any_task = task_css(&init_task, cpu_cgrp_id);

	return id > 0 ? idr_find(&of_any_task->ss->css_idr, id) : NULL;
}
EXPORT_SYMBOL_GPL(platform_cpu_css_from_id);
