// SPDX-License-Identifier: GPL-2.0
/*
 * Hooks by hand, one for each write to "raise":
 *
 *	[cpu=N] HOOK [PID] [NS] [times=N]
 *
 * with the arguments that the hook has. As where the kernel raises them, preemption is off, and
 * interrupts too, so that none of theirs gets between.
 */
#include <linux/cpu.h>
#include <linux/err.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/sched/signal.h>
#include <linux/sched/task.h>
#include <linux/smp.h>
#include <linux/string.h>

#include "commands.h"
#include "hooks.h"
#include "platform.h"
#include "stat_hooks.h"
#include "svp.h"

#define ANY_CPU -1
/* cpu=, the hook, its two arguments, times= */
#define MOST_WORDS 5

struct hook {
	const char *name;
	bool has_task;
	bool has_time;
	void (*raise)(struct task_struct *task, u64 time);
};

struct injection {
	const struct hook *hook;
	struct task_struct *task; /* with a reference, or NULL */
	u64 time; /* ns */
	int cpu;
	unsigned int times;
};

static void raise_depart(struct task_struct *task, u64 time)
{
	trace_android_vh_sched_info_depart(task, time);
}

static void raise_set_svp(struct task_struct *task, u64 unused)
{
	svp_announce(task);
}

static void raise_dequeued(struct task_struct *task, u64 time)
{
	trace_android_rvh_sched_info_dequeued(task, time);
}

static void raise_arrive(struct task_struct *task, u64 time)
{
	trace_android_rvh_sched_info_arrive(task, 0, time);
}

static void raise_hardirq(struct task_struct *unused, u64 time)
{
	trace_android_rvh_irqtime_account_hardirq(time);
}

static void raise_d_state(struct task_struct *task, u64 time)
{
	trace_android_vh_task_d_state_dura_record(task, time);
}

static void raise_vh_blocked(struct task_struct *task, u64 time)
{
	trace_android_vh_sched_stat_blocked(task, time);
}

static void raise_wait(struct task_struct *task, u64 time)
{
	trace_sched_stat_wait(task, time);
}

static void raise_blocked(struct task_struct *task, u64 time)
{
	trace_sched_stat_blocked(task, time);
}

static const struct hook hooks[] = {
	{"vh_sched_info_depart", true, true, raise_depart},
	{"vh_rs_warn_set_svp_task", true, false, raise_set_svp},
	{"rvh_sched_info_dequeued", true, true, raise_dequeued},
	{"rvh_sched_info_arrive", true, true, raise_arrive},
	{"rvh_irqtime_account_hardirq", false, true, raise_hardirq},
	{"vh_task_d_state_dura_record", true, true, raise_d_state},
	{"vh_sched_stat_blocked", true, true, raise_vh_blocked},
	{"sched_stat_wait", true, true, raise_wait},
	{"sched_stat_blocked", true, true, raise_blocked},
};

static const struct hook *find_hook(const char *name)
{
	for (size_t i = 0; i < ARRAY_SIZE(hooks); i++)
		if (!strcmp(hooks[i].name, name))
			return &hooks[i];
	return NULL;
}

/* Everything but the task itself, whose process id is left in @pid. Return: 0 or -EINVAL. */
static int parse(struct injection *injection, char *text, const char **pid)
{
	char *words[MOST_WORDS + 1] = {};
	char **word = words;

	if (command_words(text, words, MOST_WORDS) < 1)
		return -EINVAL;
	if (!strncmp(*word, "cpu=", 4) &&
	    (kstrtoint(*word++ + 4, 10, &injection->cpu) || injection->cpu < 0 || !*word))
		return -EINVAL;
	injection->hook = find_hook(*word++);
	if (!injection->hook)
		return -EINVAL;
	if (injection->hook->has_task) {
		*pid = *word++;
		if (!*pid)
			return -EINVAL;
	}
	if (injection->hook->has_time && (!*word || kstrtou64(*word++, 10, &injection->time)))
		return -EINVAL;
	if (*word && (strncmp(*word, "times=", 6) ||
		      kstrtouint(*word++ + 6, 10, &injection->times) || !injection->times))
		return -EINVAL;
	return *word ? -EINVAL : 0;
}

/* In a thread, which is bound to a CPU if the command names one. */
static int inject(void *data)
{
	const struct injection *injection = data;
	const struct hook *hook = injection->hook;

	for (unsigned int i = 0; i < injection->times; i++) {
		unsigned long flags;

		local_irq_save(flags);
		hook->raise(injection->task, injection->time);
		local_irq_restore(flags);
		if (fatal_signal_pending(current))
			return -EINTR;
		cond_resched();
	}
	return 0;
}

static int inject_where_asked(struct injection *injection)
{
	int error = -EINVAL;

	if (injection->cpu == ANY_CPU)
		return inject(injection);
	cpus_read_lock();
	if (injection->cpu < (int)nr_cpu_ids && cpu_online(injection->cpu))
		error = smp_call_on_cpu(injection->cpu, inject, injection, false);
	cpus_read_unlock();
	return error;
}

static int raise_run(char *text)
{
	struct injection injection = {.cpu = ANY_CPU, .times = 1};
	const char *pid = NULL;
	int error = parse(&injection, text, &pid);

	if (error)
		return error;
	if (pid) {
		injection.task = command_task(pid);
		if (IS_ERR(injection.task))
			return PTR_ERR(injection.task);
	}
	error = inject_where_asked(&injection);
	if (injection.task)
		put_task_struct(injection.task);
	return error;
}

static const struct command_file raise_file = {.run = raise_run};

void inject_init(struct dentry *directory)
{
	command_file_create("raise", directory, &raise_file);
}
