// SPDX-License-Identifier: GPL-2.0
/*
 * What a device's user space tells the platform of a task, "package" and "flags", and what the
 * platform has counted of it, "counters", by hand.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/rcupdate.h>
#include <linux/sched/task.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "commands.h"
#include "platform.h"
#include "task_records.h"

/* Return: the name that the task had before, in @name. */
static int exchange_package(struct task_struct *task, const char **name)
{
	struct task_record *record;

	rcu_read_lock();
	record = task_record_find(task);
	if (record)
		*name = xchg(&record->ext.package_name, *name);
	rcu_read_unlock();
	return record ? 0 : -ESRCH;
}

/* PID [NAME] */
static int package_run(char *text)
{
	struct task_struct *task;
	const char *name;
	char *words[2];
	int count = command_words(text, words, ARRAY_SIZE(words));
	int error;

	if (count < 1)
		return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);
	name = count == 2 ? kstrdup(words[1], GFP_KERNEL) : no_package;
	error = name ? exchange_package(task, &name) : -ENOMEM;
	put_task_struct(task);
	/* After an exchange a reader may still see the former name. */
	if (name && name != no_package)
		kfree_rcu_mightsleep(name);
	return error;
}

/* PID HEX */
static int flags_run(char *text)
{
	struct task_record *record;
	struct task_struct *task;
	char *words[2];
	u32 flags;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words) ||
	    kstrtou32(words[1], 16, &flags))
		return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);
	rcu_read_lock();
	record = task_record_find(task);
	if (record)
		WRITE_ONCE(record->ext.flags, flags);
	rcu_read_unlock();
	put_task_struct(task);
	return record ? 0 : -ESRCH;
}

/* PID A0 A1 B0 B1 C0 C1 D0 D1. What the task runs while "live" is on is added to them. */
static int counters_run(char *text)
{
	struct task_record *record;
	struct task_struct *task;
	char *words[9];
	u64 values[8];

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	for (size_t i = 0; i < ARRAY_SIZE(values); i++)
		if (kstrtou64(words[i + 1], 10, &values[i]))
			return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);
	rcu_read_lock();
	record = task_record_find(task);
	for (int i = 0; record && i < CLUSTERS; i++) {
		WRITE_ONCE(record->ext.counter_a[i], values[i]);
		WRITE_ONCE(record->ext.counter_b[i], values[2 + i]);
		WRITE_ONCE(record->ext.counter_c[i], values[4 + i]);
		WRITE_ONCE(record->ext.counter_d[i], values[6 + i]);
	}
	rcu_read_unlock();
	put_task_struct(task);
	return record ? 0 : -ESRCH;
}

static const struct command_file package = {.run = package_run};
static const struct command_file flags = {.run = flags_run};
static const struct command_file counters = {.run = counters_run};

void record_fields_init(struct dentry *directory)
{
	command_file_create("package", directory, &package);
	command_file_create("flags", directory, &flags);
	command_file_create("counters", directory, &counters);
}
