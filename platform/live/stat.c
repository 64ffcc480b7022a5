// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hooks of waits for a CPU and of uninterruptible sleep, from the scheduler's
 * statistics. The kernel keeps them while kernel.sched_schedstats is 1. Context: under the lock of
 * the run queue that the task is on.
 */
#include <linux/kernel.h>

#include "common/kernel_probes.h"
#include "contract/hooks.h"
#include "contract/stat_hooks.h"
#include "sources.h"

static void on_wait(void *data, struct task_struct *task, u64 delay)
{
	trace_sched_stat_wait(task, delay);
}

static void on_blocked(void *data, struct task_struct *task, u64 delay)
{
	trace_sched_stat_blocked(task, delay);
	trace_android_vh_sched_stat_blocked(task, delay);
}

/* Looked up among the kernel's own tracepoints only, not among the hooks of the same names. */
static struct kernel_probe probes[] = {
	{.name = "sched_stat_wait", .probe = on_wait},
	{.name = "sched_stat_blocked", .probe = on_blocked},
};

int live_stat_start(void)
{
	check_trace_callback_type_sched_stat_wait(on_wait);
	check_trace_callback_type_sched_stat_blocked(on_blocked);
	return kernel_probes_attach(probes, ARRAY_SIZE(probes));
}

void live_stat_stop(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
}
