// SPDX-License-Identifier: GPL-2.0
/*
 * Listens on the platform's hooks and adds up what they say of one task, for comparison with what
 * the kernel says of it. /sys/kernel/debug/zem_platform_test has "watch", the process id (a write
 * sets the sums to 0; 0 is every task), and "sums". When it is unloaded it leaves all its probes
 * attached, as zem leaves some: the platform has to take them off.
 */
#include <linux/atomic.h>
#include <linux/cgroup.h>
#include <linux/debugfs.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/tracepoint.h>

#include "contract.h"

struct sum {
	atomic64_t count;
	atomic64_t time; /* ns */
};

static struct dentry *directory;
static u64 watched_pid;
static struct sum depart, announced, dequeued, arrive, hardirq, d_state;
static struct sum wait, blocked, vendor_blocked;
/* Of the load feed: cycles in place of ns, by cluster. */
static struct sum load[2];
/* What cannot be: a time longer than the machine is up, a hook for an idle task, ... */
static atomic64_t absurd;

static void add(struct sum *sum, const struct task_struct *task, u64 time)
{
	if (time > ktime_get_boottime_ns() || (task && !task->pid))
		atomic64_inc(&absurd);
	if (task && watched_pid && task->pid != watched_pid)
		return;
	atomic64_inc(&sum->count);
	atomic64_add(time, &sum->time);
}

static void on_depart(void *data, struct task_struct *task, u64 runtime)
{
	add(&depart, task, runtime);
}

/* As zem does: makes the task a block once. The platform frees it with the record. */
static void on_announced(void *data, struct task_struct *task)
{
	struct task_ext *record = platform_task_ext(task);

	if (!record || !(test_task_orig_svp(task) & 1)) {
		atomic64_inc(&absurd);
		return;
	}
	/* Zeroed before it is seen. */
	if (!record->svp_stats)
		smp_store_release(&record->svp_stats, kzalloc(400, GFP_ATOMIC));
	add(&announced, task, 0);
}

static void on_dequeued(void *data, struct task_struct *task, u64 delay)
{
	add(&dequeued, task, delay);
}

static void on_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay)
{
	if (ignored)
		atomic64_inc(&absurd);
	add(&arrive, task, delay);
}

static void on_hardirq(void *data, u64 delta)
{
	add(&hardirq, NULL, delta);
}

static void on_d_state(void *data, struct task_struct *task, u64 duration)
{
	add(&d_state, task, duration);
}

static void on_wait(void *data, struct task_struct *task, u64 delay)
{
	add(&wait, task, delay);
}

static void on_blocked(void *data, struct task_struct *task, u64 delay)
{
	add(&blocked, task, delay);
}

static void on_vendor_blocked(void *data, struct task_struct *task, u64 delay)
{
	add(&vendor_blocked, task, delay);
}

static void on_load(struct task_struct *task, u32 cluster, u64 delta)
{
	if (cluster >= ARRAY_SIZE(load) || !task->pid || !irqs_disabled()) {
		atomic64_inc(&absurd);
		return;
	}
	if (watched_pid && task->pid != watched_pid)
		return;
	atomic64_inc(&load[cluster].count);
	atomic64_add(delta, &load[cluster].time);
}

static int watch_set(void *data, u64 pid)
{
	static struct sum *const sums[] = {&depart,	    &announced, &dequeued, &arrive,
					   &hardirq,	    &d_state,	&wait,	   &blocked,
					   &vendor_blocked, &load[0],	&load[1]};

	watched_pid = pid;
	for (size_t i = 0; i < ARRAY_SIZE(sums); i++) {
		atomic64_set(&sums[i]->count, 0);
		atomic64_set(&sums[i]->time, 0);
	}
	return 0;
}
DEFINE_DEBUGFS_ATTRIBUTE(watch_fops, NULL, watch_set, "%llu\n");

static void show_sum(struct seq_file *file, const char *name, struct sum *sum)
{
	seq_printf(file, "%s %lld %lld\n", name, atomic64_read(&sum->count),
		   atomic64_read(&sum->time));
}

static int sums_show(struct seq_file *file, void *unused)
{
	show_sum(file, "depart", &depart);
	show_sum(file, "announced", &announced);
	show_sum(file, "dequeued", &dequeued);
	show_sum(file, "arrive", &arrive);
	show_sum(file, "hardirq", &hardirq);
	show_sum(file, "d_state", &d_state);
	show_sum(file, "wait", &wait);
	show_sum(file, "blocked", &blocked);
	show_sum(file, "vendor_blocked", &vendor_blocked);
	show_sum(file, "load0", &load[0]);
	show_sum(file, "load1", &load[1]);
	seq_printf(file, "absurd %lld\n", atomic64_read(&absurd));
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(sums);

/* The groups of the cpu controller, as zem looks for them: id and name, up to the first gap. */
static int groups_show(struct seq_file *file, void *unused)
{
	for (int id = 1;; id++) {
		struct cgroup_subsys_state *group;
		char name[32] = "";

		rcu_read_lock();
		group = platform_cpu_css_from_id(id);
		if (group)
			strscpy(name, group->cgroup->kn->name, sizeof(name));
		rcu_read_unlock();
		if (!group)
			return 0;
		seq_printf(file, "%d %s\n", id, name);
	}
}
DEFINE_SHOW_ATTRIBUTE(groups);

static const struct {
	struct tracepoint *hook;
	void *probe;
	int (*attach)(struct tracepoint *hook, void *probe, void *data);
} probes[] = {
	{&__tracepoint_android_vh_sched_info_depart, on_depart, tracepoint_probe_register},
	{&__tracepoint_android_vh_rs_warn_set_svp_task, on_announced, tracepoint_probe_register},
	{&__tracepoint_android_vh_task_d_state_dura_record, on_d_state, tracepoint_probe_register},
	{&__tracepoint_android_vh_sched_stat_blocked, on_vendor_blocked, tracepoint_probe_register},
	{&__tracepoint_sched_stat_wait, on_wait, tracepoint_probe_register},
	{&__tracepoint_sched_stat_blocked, on_blocked, tracepoint_probe_register},
	{&__tracepoint_android_rvh_sched_info_dequeued, on_dequeued, android_rvh_probe_register},
	{&__tracepoint_android_rvh_sched_info_arrive, on_arrive, android_rvh_probe_register},
	{&__tracepoint_android_rvh_irqtime_account_hardirq, on_hardirq, android_rvh_probe_register},
};

/* On failure the platform takes off what is attached, as well. */
static int __init listener_init(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(probes); i++) {
		int error = probes[i].attach(probes[i].hook, probes[i].probe, NULL);

		if (error)
			return error;
	}
	if (android_rvh_probe_register(&__tracepoint_android_rvh_sched_info_arrive, on_arrive,
				       &absurd) != -EBUSY) {
		pr_err("a restricted hook takes a second probe\n");
		return -EINVAL;
	}
	register_load_stat_proc_runtime(on_load);
	directory = debugfs_create_dir("zem_platform_test", NULL);
	debugfs_create_file("watch", 0200, directory, NULL, &watch_fops);
	debugfs_create_file("sums", 0444, directory, NULL, &sums_fops);
	debugfs_create_file("groups", 0444, directory, NULL, &groups_fops);
	return 0;
}
module_init(listener_init);

static void __exit listener_exit(void)
{
	debugfs_remove_recursive(directory);
}
module_exit(listener_exit);

MODULE_DESCRIPTION("Listener on zem_platform's hooks, for tests");
MODULE_LICENSE("GPL");
