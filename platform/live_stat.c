// SPDX-License-Identifier: GPL-2.0
/*
 * Waits for a CPU and uninterruptible sleep as the scheduler's statistics have them, which the
 * kernel keeps while kernel.sched_schedstats is 1. Under the lock of the run queue that the task is
 * on.
 */
#include <linux/kernel.h>

#include "hooks.h"
#include "kernel_probes.h"
#include "live.h"
#include "stat_hooks.h"

static void on_wait(void *data, struct task_struct *task, u64 delay)
{
	trace_sched_stat_wait(task, delay);
}

static void on_blocked(void *data, struct task_struct *task, u64 delay)
{
	trace_sched_stat_blocked(task, delay);
	trace_android_vh_sched_stat_blocked(task, delay);
}

/* Looked for among the kernel's own alone: the hooks of the same names are not meant. */
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
