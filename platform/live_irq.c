// SPDX-License-Identifier: GPL-2.0
/*
 * The time of hard interrupts, from the events around each handler. A handler that interrupts
 * another one is part of it. "irqtime" sets a CPU's sum while nothing else adds to it.
 */
#include <linux/export.h>
#include <linux/interrupt.h>
#include <linux/kernel.h>
#include <linux/percpu.h>
#include <linux/preempt.h>
#include <linux/sched/clock.h>
#include <linux/seq_file.h>

#include <trace/events/irq.h>

#include "commands.h"
#include "hooks.h"
#include "kernel_probes.h"
#include "live.h"

/* Written by its CPU in hard interrupts. */
DEFINE_PER_CPU(u64, cpu_irqtime);
EXPORT_PER_CPU_SYMBOL_GPL(cpu_irqtime);

/* When this CPU's outermost handler began; 0 while there is none. */
static DEFINE_PER_CPU(u64, handler_began);

/* Not in an interrupt within another, nor in one that a tasklet has sent again. */
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
	/* Other CPUs read it. */
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

/* CPU NS */
static int irqtime_run(char *text)
{
	unsigned int cpu;
	char *words[2];
	u64 time;
	int error;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words) ||
	    kstrtouint(words[0], 10, &cpu) || kstrtou64(words[1], 10, &time))
		return -EINVAL;
	if (cpu >= nr_cpu_ids || !cpu_possible(cpu))
		return -EINVAL;
	error = live_lock_off();
	if (error)
		return error;
	WRITE_ONCE(per_cpu(cpu_irqtime, cpu), time);
	live_unlock();
	return 0;
}

static int irqtime_show(struct seq_file *file, void *unused)
{
	int cpu;

	for_each_possible_cpu(cpu)
		seq_printf(file, "%d %llu\n", cpu, READ_ONCE(per_cpu(cpu_irqtime, cpu)));
	return 0;
}

static const struct command_file irqtime = {.run = irqtime_run, .show = irqtime_show};

void live_irq_init(struct dentry *directory)
{
	command_file_create("irqtime", directory, &irqtime);
}
