// SPDX-License-Identifier: GPL-2.0
/*
 * Measures when it is loaded and shows the result in /sys/kernel/debug/zem_bench: a line for each
 * row, "NAME COST FLOOR" in hundredths of an instruction, FLOOR "-" where there is none.
 */
#include <linux/debugfs.h>
#include <linux/init.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/seq_file.h>

#include "bench.h"

static const struct bench_table *const tables[] = {&setter_table};

static char report[4096];
static size_t report_length;
static struct dentry *report_file;

static void add_line(const struct bench_row *row)
{
	u64 cost = measure(row->call, row->argument, row->settle);
	size_t room = sizeof(report) - report_length;

	if (row->floor)
		report_length += scnprintf(report + report_length, room, "%s %llu %llu\n",
					   row->name, cost,
					   measure(row->floor, row->argument, row->settle));
	else
		report_length +=
			scnprintf(report + report_length, room, "%s %llu -\n", row->name, cost);
}

static int run_table(const struct bench_table *table)
{
	int error = table->begin ? table->begin() : 0;

	if (error)
		return error;
	for (unsigned int i = 0; i < table->count; i++)
		add_line(&table->rows[i]);
	if (table->end)
		table->end();
	return 0;
}

static int report_show(struct seq_file *file, void *unused)
{
	seq_write(file, report, report_length);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(report);

static int __init zem_bench_init(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(tables); i++) {
		int error = run_table(tables[i]);

		if (error)
			return error;
	}
	report_file = debugfs_create_file("zem_bench", 0444, NULL, NULL, &report_fops);
	return 0;
}
module_init(zem_bench_init);

static void __exit zem_bench_exit(void)
{
	debugfs_remove(report_file);
}
module_exit(zem_bench_exit);

MODULE_DESCRIPTION("Counts what zem's calls cost");
MODULE_LICENSE("GPL");
