// SPDX-License-Identifier: GPL-2.0
/*
 * Counts the busy time of each CPU, in cycles at the reference frequency, from the switches between
 * tasks and idle. A device's CPUs count it in hardware. "amu" fixes the two words of a CPU
 * (CPU W0 W1), or ends the fixing of all CPUs (live).
 */
#include <linux/cpumask.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/percpu.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/seqlock.h>
#include <linux/smp.h>
#include <linux/spinlock.h>
#include <linux/string.h>

#include "clusters.h"
#include "common/commands.h"
#include "contract.h"
#include "cpu_activity.h"
#include "parts.h"

/* Written by its CPU with interrupts off, or by any CPU while no CPU counts. */
struct activity {
	seqcount_t sequence;
	bool busy;
	u64 since; /* ns, ktime_get(): the start of the current busy time */
	u64 busy_before; /* ns: the busy time until then */
};

static DEFINE_PER_CPU(struct activity, activities) = {
	.sequence = SEQCNT_ZERO(activities.sequence),
};

/* The words that are fixed by hand. */
static DEFINE_RAW_SPINLOCK(fixed_lock);
static struct {
	bool fixed;
	u64 words[2];
} fixed[NR_CPUS];

static void set_busy(struct activity *activity, bool busy)
{
	u64 now;

	if (activity->busy == busy)
		return;
	now = ktime_get_ns();
	raw_write_seqcount_begin(&activity->sequence);
	if (busy)
		activity->since = now;
	else
		activity->busy_before += now - activity->since;
	activity->busy = busy;
	raw_write_seqcount_end(&activity->sequence);
}

void cpu_activity_set(bool busy)
{
	set_busy(this_cpu_ptr(&activities), busy);
}

/* Context: an interrupt of each CPU. */
static void begin_with_current(void *unused)
{
	cpu_activity_set(!is_idle_task(current));
}

void cpu_activity_start(void)
{
	on_each_cpu(begin_with_current, NULL, true);
}

void cpu_activity_stop(void)
{
	int cpu;

	for_each_possible_cpu(cpu)
		set_busy(per_cpu_ptr(&activities, cpu), false);
}

static void read_activity(int cpu, u64 out[2])
{
	const struct activity *activity = per_cpu_ptr(&activities, cpu);
	unsigned int sequence;
	u64 busy, now;

	do {
		sequence = read_seqcount_begin(&activity->sequence);
		now = ktime_get_ns();
		busy = activity->busy_before;
		if (activity->busy && now > activity->since)
			busy += now - activity->since;
	} while (read_seqcount_retry(&activity->sequence, sequence));
	out[0] = cluster_cycles(cluster_of(cpu), busy);
	out[1] = now;
}

/*
 * zem reads eight CPUs on every machine. If time has passed on a CPU it looks up the CPU's package,
 * which must be 0 or 1. So no time passes on a CPU that is absent or in another package.
 */
static bool has_activity(int cpu)
{
	int package = topology_physical_package_id(cpu);

	return cpu_present(cpu) && package >= 0 && package < CLUSTERS;
}

int morva_amu_read(int cpu, int which, u64 out[2])
{
	unsigned long flags;
	bool is_fixed;

	if (which || cpu < 0 || cpu >= NR_CPUS)
		return -EINVAL;
	raw_spin_lock_irqsave(&fixed_lock, flags);
	is_fixed = fixed[cpu].fixed;
	if (is_fixed)
		memcpy(out, fixed[cpu].words, sizeof(fixed[cpu].words));
	raw_spin_unlock_irqrestore(&fixed_lock, flags);

	if (is_fixed)
		return 0;
	if (has_activity(cpu))
		read_activity(cpu, out);
	else
		out[0] = out[1] = 0;
	return 0;
}
EXPORT_SYMBOL_GPL(morva_amu_read);

static int fix(char *const words[])
{
	unsigned int cpu;
	u64 values[2];

	if (kstrtouint(words[0], 10, &cpu) || kstrtou64(words[1], 10, &values[0]) ||
	    kstrtou64(words[2], 10, &values[1]))
		return -EINVAL;
	if (cpu >= nr_cpu_ids || !cpu_possible(cpu))
		return -EINVAL;
	raw_spin_lock_irq(&fixed_lock);
	memcpy(fixed[cpu].words, values, sizeof(values));
	fixed[cpu].fixed = true;
	raw_spin_unlock_irq(&fixed_lock);
	return 0;
}

static void unfix_all(void)
{
	raw_spin_lock_irq(&fixed_lock);
	memset(fixed, 0, sizeof(fixed));
	raw_spin_unlock_irq(&fixed_lock);
}

/* CPU W0 W1, or live */
static int amu_run(char *text)
{
	char *words[3];
	int count = command_words(text, words, ARRAY_SIZE(words));

	if (count == 3)
		return fix(words);
	if (count != 1 || strcmp(words[0], "live"))
		return -EINVAL;
	unfix_all();
	return 0;
}

static int amu_show(struct seq_file *file, void *unused)
{
	int cpu;

	for_each_possible_cpu(cpu) {
		u64 words[2];

		morva_amu_read(cpu, 0, words);
		seq_printf(file, "%d %llu %llu\n", cpu, words[0], words[1]);
	}
	return 0;
}

static const struct command_file amu = {.run = amu_run, .show = amu_show};

void cpu_activity_init(struct dentry *directory)
{
	command_file_create("amu", directory, &amu);
}
