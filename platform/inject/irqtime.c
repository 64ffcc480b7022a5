// SPDX-License-Identifier: GPL-2.0
/* "irqtime" shows the interrupt time of each CPU, and sets that of one CPU while "live" is off. */
#include <linux/cpumask.h>
#include <linux/kernel.h>
#include <linux/percpu.h>
#include <linux/seq_file.h>

#include "common/commands.h"
#include "contract.h"
#include "live/live.h"
#include "parts.h"

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

void irqtime_init(struct dentry *directory)
{
	command_file_create("irqtime", directory, &irqtime);
}
