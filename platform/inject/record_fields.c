// SPDX-License-Identifier: GPL-2.0
/*
 * Sets fields of a task's record. On a device user space decides which tasks are SVP ("svp") and
 * sets the "package" and the "flags"; the platform itself counts the "counters".
 */
#include <linux/kernel.h>
#include <linux/rcupdate.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "common/commands.h"
#include "common/compat.h"
#include "contract/svp.h"
#include "contract/task_records.h"
#include "parts.h"
#include "records.h"

enum svp_order { PIN, UNPIN, MARK, UNMARK };

static int give_svp_order(struct task_record *record, void *order)
{
	switch (*(int *)order) {
	case PIN:
	case UNPIN:
		svp_pin(record, *(int *)order == PIN);
		break;
	default:
		WRITE_ONCE(record->ext.svp_marker, *(int *)order == MARK);
	}
	return 0;
}

/* PID on|off|marked|unmarked */
static int svp_run(char *text)
{
	static const char *const orders[] = {
		[PIN] = "on", [UNPIN] = "off", [MARK] = "marked", [UNMARK] = "unmarked"};
	char *words[2];
	int order;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	order = match_string(orders, ARRAY_SIZE(orders), words[1]);
	return order < 0 ? -EINVAL : with_record(words[0], give_svp_order, &order);
}

/* @name: the new name, which is replaced by the former one. */
static int exchange_package(struct task_record *record, void *name)
{
	*(const char **)name = xchg(&record->ext.package_name, *(const char **)name);
	return 0;
}

/* PID [NAME] */
static int package_run(char *text)
{
	const char *name;
	char *words[2];
	int count = command_words(text, words, ARRAY_SIZE(words));
	int error;

	if (count < 1)
		return -EINVAL;
	name = count == 2 ? kstrdup(words[1], GFP_KERNEL) : no_package;
	if (!name)
		return -ENOMEM;
	error = with_record(words[0], exchange_package, &name);
	/* After an exchange a reader may still use the former name. */
	if (name != no_package)
		kfree_rcu_mightsleep(name);
	return error;
}

static int set_flags(struct task_record *record, void *flags)
{
	WRITE_ONCE(record->ext.flags, *(u32 *)flags);
	return 0;
}

/* PID HEX */
static int flags_run(char *text)
{
	char *words[2];
	u32 flags;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words) ||
	    kstrtou32(words[1], 16, &flags))
		return -EINVAL;
	return with_record(words[0], set_flags, &flags);
}

static int set_counters(struct task_record *record, void *argument)
{
	const u64 *values = argument;

	for (int i = 0; i < CLUSTERS; i++) {
		WRITE_ONCE(record->ext.counter_a[i], values[i]);
		WRITE_ONCE(record->ext.counter_b[i], values[2 + i]);
		WRITE_ONCE(record->ext.counter_c[i], values[4 + i]);
		WRITE_ONCE(record->ext.counter_d[i], values[6 + i]);
	}
	return 0;
}

/* PID A0 A1 B0 B1 C0 C1 D0 D1. While "live" is on, the platform adds the task's activity. */
static int counters_run(char *text)
{
	char *words[9];
	u64 values[8];

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	for (size_t i = 0; i < ARRAY_SIZE(values); i++)
		if (kstrtou64(words[i + 1], 10, &values[i]))
			return -EINVAL;
	return with_record(words[0], set_counters, values);
}

static const struct command_file svp = {.run = svp_run};
static const struct command_file package = {.run = package_run};
static const struct command_file flags = {.run = flags_run};
static const struct command_file counters = {.run = counters_run};

void record_fields_init(struct dentry *directory)
{
	command_file_create("svp", directory, &svp);
	command_file_create("package", directory, &package);
	command_file_create("flags", directory, &flags);
	command_file_create("counters", directory, &counters);
}
