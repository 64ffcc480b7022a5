// SPDX-License-Identifier: GPL-2.0
/*
 * Measures what each task runs, from the kernel's switches, for the counters of its record and for
 * the load feed. ADAPT if the device's scheduler counts cycles: use its counters.
 * Context: under the lock of the run queue that the task is on or leaves.
 */
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/sched/clock.h>
#include <linux/smp.h>

#include <trace/events/sched.h>

#include "glue.h"
#include "kernel_events.h"
#include "stock_hooks.h"
#include "vendor.h"

/* zem reads the counters without a lock. */
static void add(u64 *counter, u64 amount)
{
	WRITE_ONCE(*counter, *counter + amount);
}

static void leaves_cpu(struct task_struct *task)
{
	struct task_record *record = task_record_find(task);
	u32 cluster = vendor_cluster(smp_processor_id());
	u64 now = local_clock();
	u64 ran;

	if (!record || !record->is_running)
		return;
	ran = task->se.sum_exec_runtime - record->runtime_before;
	record->is_running = false;
	add(&record->ext.counter_a[cluster], cluster_cycles(cluster, ran));
	add(&record->ext.counter_d[cluster], now - record->counted_until[cluster]);
	record->counted_until[cluster] = now;
	load_feed(task, cluster, cluster_cycles(cluster, ran));
	stock_task_has_run(task, ran);
}

static void gets_cpu(struct task_struct *task)
{
	struct task_record *record = task_record_find(task);

	if (!record)
		return;
	record->is_running = true;
	record->runtime_before = task->se.sum_exec_runtime;
	stock_task_runs(task);
}

static void on_switch(void *data, bool preempt, struct task_struct *previous,
		      struct task_struct *next, unsigned int previous_state)
{
	if (!is_idle_task(previous))
		leaves_cpu(previous);
	if (!is_idle_task(next))
		gets_cpu(next);
}

static struct kernel_event events[] = {
	{.name = "sched_switch", .probe = on_switch},
};

int runs_init(void)
{
	check_trace_callback_type_sched_switch(on_switch);
	return kernel_events_attach(events, ARRAY_SIZE(events));
}

void runs_exit(void)
{
	kernel_events_detach(events, ARRAY_SIZE(events));
}
