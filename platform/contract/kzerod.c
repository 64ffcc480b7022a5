// SPDX-License-Identifier: GPL-2.0
/*
 * Defines the counters of the zero-page daemon, which a stock kernel does not have. "kzerod" shows
 * all five, and a write of five numbers sets them.
 */
#include <linux/atomic.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/seq_file.h>

#include "common/commands.h"
#include "contract.h"
#include "parts.h"

#define COUNTER(name)                     \
	atomic_t kzerod_zero_page_##name; \
	EXPORT_SYMBOL_GPL(kzerod_zero_page_##name)

COUNTER(alloc_failed);
COUNTER(alloc_prezero);
COUNTER(list_alloc_total);
COUNTER(list_breakdown_total);
COUNTER(list_drain_total);

static atomic_t *const counters[] = {
	&kzerod_zero_page_alloc_failed,	    &kzerod_zero_page_alloc_prezero,
	&kzerod_zero_page_list_alloc_total, &kzerod_zero_page_list_breakdown_total,
	&kzerod_zero_page_list_drain_total,
};

static int kzerod_run(char *text)
{
	char *words[ARRAY_SIZE(counters)];
	int values[ARRAY_SIZE(counters)];

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words))
		return -EINVAL;
	for (size_t i = 0; i < ARRAY_SIZE(values); i++)
		if (kstrtoint(words[i], 0, &values[i]))
			return -EINVAL;
	for (size_t i = 0; i < ARRAY_SIZE(values); i++)
		atomic_set(counters[i], values[i]);
	return 0;
}

static int kzerod_show(struct seq_file *file, void *unused)
{
	for (size_t i = 0; i < ARRAY_SIZE(counters); i++)
		seq_printf(file, "%s%d", i ? " " : "", atomic_read(counters[i]));
	seq_putc(file, '\n');
	return 0;
}

static const struct command_file kzerod = {.run = kzerod_run, .show = kzerod_show};

void kzerod_init(struct dentry *directory)
{
	command_file_create("kzerod", directory, &kzerod);
}
