// SPDX-License-Identifier: GPL-2.0
/*
 * Stands in for the platform on a stock kernel. Load it before zem. By hand it is driven through
 * /sys/kernel/debug/zem_platform.
 */
#include <linux/debugfs.h>
#include <linux/init.h>
#include <linux/kernel.h>
#include <linux/module.h>

#include "platform.h"

static struct dentry *directory;

/* What can fail, in the order of starting. */
static const struct part {
	int (*init)(struct dentry *directory);
	void (*exit)(void);
} parts[] = {
	{task_records_init, task_records_exit},
	{svp_init, svp_exit},
	{iowait_init, iowait_exit},
	{live_init, live_exit},
	{zem_symbols_init, zem_symbols_exit},
};

/* The files go first: once they are removed, nobody is in them any more. */
static void stop_parts(size_t count)
{
	debugfs_remove_recursive(directory);
	while (count--)
		parts[count].exit();
}

static int __init zem_platform_init(void)
{
	directory = debugfs_create_dir("zem_platform", NULL);
	/* Before any task is counted. */
	clusters_init(directory);
	for (size_t i = 0; i < ARRAY_SIZE(parts); i++) {
		int error = parts[i].init(directory);

		if (error) {
			stop_parts(i);
			return error;
		}
	}

	app_start_init(directory);
	cpu_activity_init(directory);
	inject_init(directory);
	kzerod_init(directory);
	load_feed_init(directory);
	long_iowait_init(directory);
	produce_init(directory);
	providers_init(directory);
	record_fields_init(directory);
	record_text_init(directory);
	return 0;
}
module_init(zem_platform_init);

static void __exit zem_platform_exit(void)
{
	stop_parts(ARRAY_SIZE(parts));
}
module_exit(zem_platform_exit);

MODULE_DESCRIPTION("Platform stand-in for zem on a stock kernel");
MODULE_LICENSE("GPL");
