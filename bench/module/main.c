// SPDX-License-Identifier: GPL-2.0
/*
 * /sys/kernel/debug/zem_bench: a write of a table's name and its numbers to "run" measures the
 * table's rows. "results" has a line for each row so far, "NAME COST FLOOR" in hundredths of an
 * instruction; FLOOR is "-" for a row without a floor.
 */
#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/init.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "bench.h"

#define MOST_NUMBERS 4

static const struct bench_table *const tables[] = {
	&setter_table,	 &sched_off_table,     &sched_on_table,	     &collection_table,
	&load_off_table, &load_on_table,       &no_foreground_table, &load_collection_table,
	&io_table,	 &io_collection_table, &contention_table,    &peers_table,
};

/* Protects the report, and serialises the tables. */
static DEFINE_MUTEX(bench_lock);
static char report[8192];
static size_t report_length;
static struct dentry *directory;

static void add_line(const struct bench_table *table, const struct bench_row *row)
{
	u64 (*how)(const struct bench_table *table, const struct bench_row *row, bench_call call) =
		table->measure ?: measure;
	u64 cost = how(table, row, row->call);
	size_t room = sizeof(report) - report_length;

	if (row->floor)
		report_length += scnprintf(report + report_length, room, "%s %llu %llu\n",
					   row->name, cost, how(table, row, row->floor));
	else
		report_length +=
			scnprintf(report + report_length, room, "%s %llu -\n", row->name, cost);
}

static int run_table(const struct bench_table *table, const int *numbers, unsigned int count)
{
	int error = table->begin ? table->begin(numbers, count) : 0;

	if (error)
		return error;
	if (table->compare)
		error = table->compare();
	for (unsigned int i = 0; i < table->count && !error; i++)
		add_line(table, &table->rows[i]);
	if (table->end)
		table->end();
	return error;
}

static int run_by_name(char *words)
{
	const char *name = strsep(&words, " ");
	int numbers[MOST_NUMBERS];
	unsigned int count = 0;
	char *word;

	while ((word = strsep(&words, " ")))
		if (count == MOST_NUMBERS || kstrtoint(word, 0, &numbers[count++]))
			return -EINVAL;
	for (size_t i = 0; i < ARRAY_SIZE(tables); i++)
		if (!strcmp(tables[i]->name, name))
			return run_table(tables[i], numbers, count);
	return -EINVAL;
}

static ssize_t run_write(struct file *file, const char __user *from, size_t count, loff_t *position)
{
	char *text = memdup_user_nul(from, min_t(size_t, count, PAGE_SIZE));
	int error;

	if (IS_ERR(text))
		return PTR_ERR(text);
	mutex_lock(&bench_lock);
	error = run_by_name(strim(text));
	mutex_unlock(&bench_lock);
	kfree(text);
	return error ?: count;
}

static const struct file_operations run_fops = {
	.owner = THIS_MODULE,
	.open = nonseekable_open,
	.write = run_write,
};

static int results_show(struct seq_file *file, void *unused)
{
	mutex_lock(&bench_lock);
	seq_write(file, report, report_length);
	mutex_unlock(&bench_lock);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(results);

static int __init zem_bench_init(void)
{
	directory = debugfs_create_dir("zem_bench", NULL);
	debugfs_create_file("run", 0200, directory, NULL, &run_fops);
	debugfs_create_file("results", 0444, directory, NULL, &results_fops);
	return 0;
}
module_init(zem_bench_init);

static void __exit zem_bench_exit(void)
{
	debugfs_remove_recursive(directory);
}
module_exit(zem_bench_exit);

MODULE_DESCRIPTION("Counts what zem's calls cost");
MODULE_LICENSE("GPL");
