// SPDX-License-Identifier: GPL-2.0
/*
 * Sums the time of hard interrupts, from the kernel's events around each handler. ADAPT if the
 * kernel itself exports cpu_irqtime: remove this file.
 */
#include <linux/export.h>
#include <linux/interrupt.h>
#include <linux/kernel.h>
#include <linux/percpu.h>
#include <linux/preempt.h>
#include <linux/sched/clock.h>

#include <trace/events/irq.h>

#include "glue.h"
#include "kernel_events.h"
#include "stock_hooks.h"

DEFINE_PER_CPU(u64, cpu_irqtime);
EXPORT_PER_CPU_SYMBOL_GPL(cpu_irqtime);

/* The start of this CPU's outermost handler; 0 while no handler runs. */
static DEFINE_PER_CPU(u64, handler_began);

static bool is_outermost(void)
{
	return hardirq_count() == HARDIRQ_OFFSET;
}

static void on_entry(void *data, int irq, struct irqaction *action)
{
	if (is_outermost())
		__this_cpu_write(handler_began, local_clock());
}

static void on_exit(void *data, int irq, struct irqaction *action, int result)
{
	u64 began = __this_cpu_read(handler_began);
	u64 *sum = this_cpu_ptr(&cpu_irqtime);
	u64 ns;

	if (!began || !is_outermost())
		return;
	ns = local_clock() - began;
	__this_cpu_write(handler_began, 0);
	WRITE_ONCE(*sum, *sum + ns);
	stock_interrupt(ns);
}

static struct kernel_event events[] = {
	{.name = "irq_handler_entry", .probe = on_entry},
	{.name = "irq_handler_exit", .probe = on_exit},
};

int irq_time_init(void)
{
	check_trace_callback_type_irq_handler_entry(on_entry);
	check_trace_callback_type_irq_handler_exit(on_exit);
	return kernel_events_attach(events, ARRAY_SIZE(events));
}

void irq_time_exit(void)
{
	kernel_events_detach(events, ARRAY_SIZE(events));
}
