// SPDX-License-Identifier: GPL-2.0
/*
 * Listens on the platform's hooks and adds up what they report of one task, for comparison with the
 * kernel's own figures. /sys/kernel/debug/zem_platform_test has "watch", the process id (a write
 * sets the sums to 0; 0 is every task), and "sums". The module leaves all its probes attached when
 * it is unloaded, as zem leaves some: the platform must detach them.
 */
#include <linux/cgroup.h>
#include <linux/debugfs.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/slab.h>

#include "listener.h"

static struct dentry *directory;
static u64 watched_pid;

static struct sum {
	const char *name;
	atomic64_t count;
	atomic64_t total;
} sums[] = {
#define SUM_NAME(sum) {.name = #sum},
	SUMS(SUM_NAME)};

static atomic64_t absurd;
static struct {
	const char *what;
	u64 value;
} first_absurd;

void note_absurd(const char *what, u64 value)
{
	if (atomic64_inc_return(&absurd) > 1)
		return;
	first_absurd.value = value;
	smp_store_release(&first_absurd.what, what);
}

void add_amount(enum sum_index index, pid_t pid, u64 amount)
{
	if (watched_pid && pid != watched_pid)
		return;
	atomic64_inc(&sums[index].count);
	atomic64_add(amount, &sums[index].total);
}

void add_time(enum sum_index index, pid_t pid, u64 time)
{
	if (time > ktime_get_boottime_ns())
		note_absurd(sums[index].name, time);
	add_amount(index, pid, time);
}

static void add(enum sum_index index, const struct task_struct *task, u64 time)
{
	if (!task->pid)
		note_absurd("an idle task", index);
	add_time(index, task->pid, time);
}

void on_android_vh_sched_info_depart(void *data, struct task_struct *task, u64 runtime)
{
	add(SUM_depart, task, runtime);
}

/* Allocates the task's block once, as zem does. The platform frees it with the record. */
void on_android_vh_rs_warn_set_svp_task(void *data, struct task_struct *task)
{
	struct task_ext *record = platform_task_ext(task);

	if (!record || !(test_task_orig_svp(task) & 1)) {
		note_absurd("a task that is not SVP", task->pid);
		return;
	}
	/* The block is zeroed before it is visible. */
	if (!record->svp_stats)
		smp_store_release(&record->svp_stats, kzalloc(400, GFP_ATOMIC));
	add(SUM_announced, task, 0);
}

void on_android_rvh_sched_info_dequeued(void *data, struct task_struct *task, u64 delay)
{
	add(SUM_dequeued, task, delay);
}

void on_android_rvh_sched_info_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay)
{
	if (ignored)
		note_absurd("an argument of arrive", ignored);
	add(SUM_arrive, task, delay);
}

void on_android_rvh_irqtime_account_hardirq(void *data, u64 delta)
{
	add_time(SUM_hardirq, watched_pid, delta);
}

void on_android_vh_task_d_state_dura_record(void *data, struct task_struct *task, u64 duration)
{
	add(SUM_d_state, task, duration);
}

void on_sched_stat_wait(void *data, struct task_struct *task, u64 delay)
{
	add(SUM_wait, task, delay);
}

void on_sched_stat_blocked(void *data, struct task_struct *task, u64 delay)
{
	add(SUM_blocked, task, delay);
}

void on_android_vh_sched_stat_blocked(void *data, struct task_struct *task, u64 delay)
{
	add(SUM_vendor_blocked, task, delay);
}

static void on_load(struct task_struct *task, u32 cluster, u64 delta)
{
	if (cluster > 1 || !task->pid || !irqs_disabled())
		note_absurd("a run", cluster);
	else
		add_amount(SUM_load0 + cluster, task->pid, delta);
}

static int watch_set(void *data, u64 pid)
{
	watched_pid = pid;
	forget_usb();
	for (size_t i = 0; i < ARRAY_SIZE(sums); i++) {
		atomic64_set(&sums[i].count, 0);
		atomic64_set(&sums[i].total, 0);
	}
	return 0;
}
DEFINE_DEBUGFS_ATTRIBUTE(watch_fops, NULL, watch_set, "%llu\n");

static int sums_show(struct seq_file *file, void *unused)
{
	const char *what;

	for (size_t i = 0; i < ARRAY_SIZE(sums); i++)
		seq_printf(file, "%s %lld %lld\n", sums[i].name, atomic64_read(&sums[i].count),
			   atomic64_read(&sums[i].total));
	seq_printf(file, "absurd %lld", atomic64_read(&absurd));
	what = smp_load_acquire(&first_absurd.what);
	if (what)
		seq_printf(file, " %s %llu", what, first_absurd.value);
	seq_putc(file, '\n');
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(sums);

/* Shows id and name of the cpu controller's groups, up to the first gap, as zem searches them. */
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

static const struct hook_probe probes[] = {PLATFORM_HOOKS(PROBE_ROW)};

static int __init listener_init(void)
{
	int error = attach_probes(probes, ARRAY_SIZE(probes));

	if (error)
		return error;
	if (android_rvh_probe_register(&__tracepoint_android_rvh_sched_info_arrive,
				       on_android_rvh_sched_info_arrive, &absurd) != -EBUSY) {
		pr_err("a restricted hook takes a second probe\n");
		return -EINVAL;
	}
	register_load_stat_proc_runtime(on_load);
	directory = debugfs_create_dir("zem_platform_test", NULL);
	debugfs_create_file("watch", 0200, directory, NULL, &watch_fops);
	debugfs_create_file("sums", 0444, directory, NULL, &sums_fops);
	debugfs_create_file("groups", 0444, directory, NULL, &groups_fops);
	create_io_files(directory);
	create_usb_files(directory);
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
