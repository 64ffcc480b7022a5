// SPDX-License-Identifier: GPL-2.0
/* Answers which app is starting: on a stock kernel, what was last written to "starting". */
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/seq_file.h>
#include <linux/spinlock.h>

#include "common/commands.h"
#include "contract.h"
#include "parts.h"

static DEFINE_RAW_SPINLOCK(starting_lock);
static int starting[3] = {0, 0, -1};

void test_app_starting_simple(int *first, int *second, int *third)
{
	unsigned long flags;

	raw_spin_lock_irqsave(&starting_lock, flags);
	*first = starting[0];
	*second = starting[1];
	*third = starting[2];
	raw_spin_unlock_irqrestore(&starting_lock, flags);
}
EXPORT_SYMBOL_GPL(test_app_starting_simple);

static int starting_run(char *text)
{
	char *words[ARRAY_SIZE(starting)];
	int values[ARRAY_SIZE(starting)];
	unsigned long flags;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	for (size_t i = 0; i < ARRAY_SIZE(values); i++)
		if (kstrtoint(words[i], 0, &values[i]))
			return -EINVAL;
	raw_spin_lock_irqsave(&starting_lock, flags);
	for (size_t i = 0; i < ARRAY_SIZE(values); i++)
		starting[i] = values[i];
	raw_spin_unlock_irqrestore(&starting_lock, flags);
	return 0;
}

static int starting_show(struct seq_file *file, void *unused)
{
	int first, second, third;

	test_app_starting_simple(&first, &second, &third);
	seq_printf(file, "%d %d %d\n", first, second, third);
	return 0;
}

static const struct command_file starting_file = {.run = starting_run, .show = starting_show};

void app_start_init(struct dentry *directory)
{
	command_file_create("starting", directory, &starting_file);
}
