// SPDX-License-Identifier: GPL-2.0
/*
 * Raises a hook for each write to "raise":
 *
 *	[cpu=N] HOOK [ARGUMENT...] [times=N]
 *
 * Preemption is off, as where the kernel raises the hooks, and interrupts are off, so that no hook
 * of an interrupt nests. The current task is the writer, unless a CPU is named.
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

#include "common/commands.h"
#include "contract/block_devices.h"
#include "injection.h"
#include "parts.h"

#define ANY_CPU -1
/* cpu=, the hook, the arguments of the hook that has the most, times= */
#define MOST_WORDS 10

static const struct hook *const families[] = {sched_hooks, block_hooks, usb_hooks};

struct command {
	const struct hook *hook;
	struct injection injection;
	int cpu;
	unsigned int times;
};

static const struct hook *find_hook(const char *name)
{
	for (size_t i = 0; i < ARRAY_SIZE(families); i++)
		for (const struct hook *hook = families[i]; hook->name; hook++)
			if (!strcmp(hook->name, name))
				return hook;
	return NULL;
}

static int find_task(const char *word, struct task_struct **found)
{
	struct task_struct *task = command_task(word);

	if (IS_ERR(task))
		return PTR_ERR(task);
	*found = task;
	return 0;
}

static int parse_argument(char kind, const char *word, struct injection *injection, u64 *number)
{
	switch (kind) {
	case 'p':
		return find_task(word, &injection->task);
	case 'n':
		return kstrtou64(word, 0, number) ? -EINVAL : 0;
	case 's':
		return kstrtos64(word, 0, (s64 *)number) ? -EINVAL : 0;
	case 'd':
		return block_device_find(word, &injection->device);
	default:
		injection->dsync = !strcmp(word, "dsync");
		return injection->dsync ? 0 : -EINVAL;
	}
}

/* Parses each word as the next kind. The optional kind may be missing at the end. */
static int parse_arguments(struct injection *injection, const char *kinds, char *const *words,
			   int count)
{
	u64 *number = injection->numbers;

	for (int i = 0; i < count; i++, kinds++) {
		int error = *kinds ? parse_argument(*kinds, words[i], injection, number) : -EINVAL;

		if (error)
			return error;
		number += *kinds == 'n' || *kinds == 's';
	}
	return *kinds && *kinds != 'o' ? -EINVAL : 0;
}

/* Parses and removes the words before the hook and after its arguments. */
static int parse_frame(struct command *command, char ***words, int *count)
{
	if (*count && str_has_prefix((*words)[0], "cpu=")) {
		if (kstrtoint((*words)[0] + 4, 10, &command->cpu) || command->cpu < 0)
			return -EINVAL;
		++*words;
		--*count;
	}
	if (*count && str_has_prefix((*words)[*count - 1], "times=")) {
		--*count;
		if (kstrtouint((*words)[*count] + 6, 10, &command->times) || !command->times)
			return -EINVAL;
	}
	return *count ? 0 : -EINVAL;
}

static int parse(struct command *command, char *text)
{
	char *storage[MOST_WORDS], **words = storage;
	int count = command_words(text, words, MOST_WORDS);
	const struct hook *hook;
	int error;

	if (count < 0)
		return count;
	error = parse_frame(command, &words, &count);
	if (error)
		return error;
	hook = find_hook(words[0]);
	if (!hook)
		return -EINVAL;
	command->hook = hook;
	words++;
	count--;
	if (hook->arguments)
		error = parse_arguments(&command->injection, hook->arguments, words, count);
	if (!error && hook->prepare)
		error = hook->prepare(&command->injection, words, count);
	return error;
}

static void release(struct command *command)
{
	struct injection *injection = &command->injection;

	if (command->hook && command->hook->release)
		command->hook->release(injection);
	if (injection->task)
		put_task_struct(injection->task);
	if (injection->device)
		block_device_put(injection->device);
}

/* Context: process, on the named CPU if the command names one. */
static int inject(void *data)
{
	const struct command *command = data;

	for (unsigned int i = 0; i < command->times; i++) {
		unsigned long flags;

		local_irq_save(flags);
		command->hook->raise(&command->injection);
		local_irq_restore(flags);
		if (fatal_signal_pending(current))
			return -EINTR;
		cond_resched();
	}
	return 0;
}

static int inject_where_asked(struct command *command)
{
	int error = -EINVAL;

	if (command->cpu == ANY_CPU)
		return inject(command);
	cpus_read_lock();
	if (command->cpu < (int)nr_cpu_ids && cpu_online(command->cpu))
		error = smp_call_on_cpu(command->cpu, inject, command, false);
	cpus_read_unlock();
	return error;
}

static int raise_run(char *text)
{
	struct command command = {.cpu = ANY_CPU, .times = 1};
	int error = parse(&command, text) ?: inject_where_asked(&command);

	release(&command);
	return error;
}

static const struct command_file raise_file = {.run = raise_run};

void raise_init(struct dentry *directory)
{
	command_file_create("raise", directory, &raise_file);
	inject_block_init(directory);
}
