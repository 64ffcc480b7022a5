// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the time of hard interrupts from the events around each handler. The time of a handler
 * includes that of a handler that interrupts it.
 */
#include <linux/interrupt.h>
#include <linux/kernel.h>
#include <linux/percpu.h>
#include <linux/preempt.h>
#include <linux/sched/clock.h>

#include <trace/events/irq.h>

#include "common/kernel_probes.h"
#include "contract.h"
#include "contract/hooks.h"
#include "sources.h"

/* The start of this CPU's outermost handler; 0 while no handler runs. */
static DEFINE_PER_CPU(u64, handler_began);

/* False in a nested interrupt, and in one that is raised again from a tasklet. */
static bool is_outermost(void)
{
	return hardirq_count() == HARDIRQ_OFFSET;
}

static void on_handler_entry(void *data, int irq, struct irqaction *action)
{
	if (is_outermost())
		__this_cpu_write(handler_began, local_clock());
}

static void on_handler_exit(void *data, int irq, struct irqaction *action, int result)
{
	u64 began = __this_cpu_read(handler_began);
	u64 *sum = this_cpu_ptr(&cpu_irqtime);
	u64 delta;

	if (!began || !is_outermost())
		return;
	delta = local_clock() - began;
	__this_cpu_write(handler_began, 0);
	/* Other CPUs read the sum. */
	WRITE_ONCE(*sum, *sum + delta);
	trace_android_rvh_irqtime_account_hardirq(delta);
}

static struct kernel_probe probes[] = {
	{.name = "irq_handler_entry", .probe = on_handler_entry},
	{.name = "irq_handler_exit", .probe = on_handler_exit},
};

int live_irq_start(void)
{
	check_trace_callback_type_irq_handler_entry(on_handler_entry);
	check_trace_callback_type_irq_handler_exit(on_handler_exit);
	return kernel_probes_attach(probes, ARRAY_SIZE(probes));
}

void live_irq_stop(void)
{
	int cpu;

	kernel_probes_detach(probes, ARRAY_SIZE(probes));
	for_each_possible_cpu(cpu)
		per_cpu(handler_began, cpu) = 0;
}
