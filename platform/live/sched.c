// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hooks of tasks from the scheduler's events.
 * Context: under the lock of the run queue that the task is on or leaves, which also orders the
 * events of one task.
 *
 * The times on a CPU and the waits for a CPU are the kernel's own, as in /proc/PID/schedstat. The
 * clock of a run queue may stand still from a wake-up to the following switch, so another clock
 * would measure something else. So is the length of an uninterruptible sleep, if the kernel
 * accounts it (sysctl kernel.sched_schedstats). Otherwise it lasts from the switch out until the
 * task is on a run queue again. Its hook is raised when the task is switched in.
 */
#include <linux/compiler.h>
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/sched/clock.h>
#include <linux/smp.h>

#include <trace/events/sched.h>

#include "common/kernel_probes.h"
#include "contract/clusters.h"
#include "contract/cpu_activity.h"
#include "contract/hooks.h"
#include "contract/load_feed.h"
#include "contract/task_records.h"
#include "sources.h"

#ifndef CONFIG_SCHED_INFO
#error "zem_platform needs a kernel with CONFIG_SCHED_INFO, as CONFIG_SCHEDSTATS selects it"
#endif

/* A task is UNKNOWN until its first event after the start; no hook is raised before. */
enum activity { OFF_CPU, UNKNOWN, RUNNING, BLOCKED };

/* ns, local_clock(): waits that began earlier are not raised. */
static u64 watching_since;

/* ns: all uninterruptible sleep of the task that the kernel has accounted. */
static u64 accounted_block(const struct task_struct *task)
{
#ifdef CONFIG_SCHEDSTATS
	return task->stats.sum_block_runtime;
#else
	return 0;
#endif
}

/* As sum_block_runtime counts. A task with a pending signal stays runnable. */
static bool has_blocked(struct task_struct *task, bool preempt, unsigned int state)
{
	return !preempt && !task_is_running(task) && (state & TASK_UNINTERRUPTIBLE);
}

/* zem reads the counters without a lock, and "counters" may set them concurrently. */
static void owner_add(u64 *counter, u64 amount)
{
	WRITE_ONCE(*counter, READ_ONCE(*counter) + amount);
}

/* Adds the time that the task ran on this CPU to the counters of the CPU's cluster. */
static void count_run(struct task_struct *task, struct task_record *record, u64 ran)
{
	u32 cluster = cluster_of(smp_processor_id());
	u64 cycles = cluster_cycles(cluster, ran);
	u64 now = local_clock();

	owner_add(&record->ext.counter_a[cluster], cycles);
	owner_add(&record->ext.counter_b[cluster], ran);
	owner_add(&record->ext.counter_d[cluster], now - record->counted_until[cluster]);
	record->counted_until[cluster] = now;
	load_feed(task, cluster, cycles);
}

static void leave_cpu(struct task_struct *task, bool preempt, unsigned int state)
{
	struct task_record *record = task_record_find(task);

	if (!record)
		return;
	if (record->activity == RUNNING) {
		u64 ran = task->se.sum_exec_runtime - record->runtime_before;

		trace_android_vh_sched_info_depart(task, ran);
		count_run(task, record, ran);
	}
	record->activity = OFF_CPU;
	record->delay_seen = task->sched_info.run_delay;
	if (has_blocked(task, preempt, state)) {
		record->activity = BLOCKED;
		record->blocked_since = local_clock();
		record->block_before = accounted_block(task);
	}
}

static void end_block(struct task_struct *task, struct task_record *record, u64 woken)
{
	u64 duration = accounted_block(task) - record->block_before;

	if (!duration && woken > record->blocked_since)
		duration = woken - record->blocked_since;
	record->activity = OFF_CPU;
	trace_android_vh_task_d_state_dura_record(task, duration);
}

/*
 * Return: the run queue's clock as the kernel has just read it for this task. exec_start is of
 * another clock if the kernel excludes interrupts from the time on a CPU.
 */
static u64 arrival(const struct task_struct *task, u64 queued)
{
	u64 now = local_clock();

	if (IS_ENABLED(CONFIG_IRQ_TIME_ACCOUNTING) || task->se.exec_start < queued ||
	    task->se.exec_start > now)
		return now;
	return task->se.exec_start;
}

static void get_cpu_to_run(struct task_struct *task)
{
	struct task_record *record = task_record_find(task);
	u64 queued = task->sched_info.last_queued;

	if (!record)
		return;
	if (record->activity == BLOCKED)
		end_block(task, record, queued);
	if (queued >= watching_since)
		trace_android_rvh_sched_info_arrive(task, 0, arrival(task, queued) - queued);
	owner_add(&record->ext.counter_c[cluster_of(smp_processor_id())], 1);
	record->activity = RUNNING;
	record->runtime_before = task->se.sum_exec_runtime;
}

/* A task may be preempted while it changes its flags. The one that is asked for does not change. */
static bool is_idle(const struct task_struct *task)
{
	return data_race(is_idle_task(task));
}

static void on_switch(void *data, bool preempt, struct task_struct *previous,
		      struct task_struct *next, unsigned int previous_state)
{
	if (is_idle(previous))
		cpu_activity_set(true);
	else
		leave_cpu(previous, preempt, previous_state);
	if (is_idle(next))
		cpu_activity_set(false);
	else
		get_cpu_to_run(next);
}

/*
 * The kernel has removed a runnable task from its old run queue and added the wait there to its run
 * delay. The run delay of a sleeping task has not changed.
 */
static void on_migrate(void *data, struct task_struct *task, int to_cpu)
{
	struct task_record *record = task_record_find(task);
	u64 delay;

	if (!record)
		return;
	delay = task->sched_info.run_delay - record->delay_seen;
	record->delay_seen += delay;
	if (!delay || record->activity == UNKNOWN)
		return;
	if (record->activity == BLOCKED)
		end_block(task, record, local_clock() - delay);
	trace_android_rvh_sched_info_dequeued(task, delay);
}

static struct kernel_probe probes[] = {
	{.name = "sched_switch", .probe = on_switch},
	{.name = "sched_migrate_task", .probe = on_migrate},
};

static void forget(struct task_record *record)
{
	record->activity = UNKNOWN;
	/* The counters cover only the time while "live" is on. */
	for (int i = 0; i < CLUSTERS; i++)
		record->counted_until[i] = watching_since;
}

int live_sched_start(void)
{
	int error;

	check_trace_callback_type_sched_switch(on_switch);
	check_trace_callback_type_sched_migrate_task(on_migrate);

	/* The activity from before an earlier stop is out of date. */
	watching_since = local_clock();
	task_records_visit(forget);
	error = kernel_probes_attach(probes, ARRAY_SIZE(probes));
	if (!error)
		cpu_activity_start();
	return error;
}

void live_sched_stop(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
	cpu_activity_stop();
}
