// SPDX-License-Identifier: GPL-2.0
/*
 * Stands in for the platform on a stock kernel. Load it before zem. By hand it is driven through
 * /sys/kernel/debug/zem_platform.
 */
#include <linux/debugfs.h>
#include <linux/init.h>
#include <linux/module.h>

#include "platform.h"

bool platform_live = true;

static struct dentry *directory;

static int __init zem_platform_init(void)
{
	int error = zem_symbols_init();

	if (error)
		return error;

	directory = debugfs_create_dir("zem_platform", NULL);
	debugfs_create_bool("live", 0644, directory, &platform_live);
	produce_init(directory);
	providers_init(directory);
	return 0;
}
module_init(zem_platform_init);

static void __exit zem_platform_exit(void)
{
	debugfs_remove_recursive(directory);
	zem_symbols_exit();
}
module_exit(zem_platform_exit);

MODULE_DESCRIPTION("Platform stand-in for zem on a stock kernel");
MODULE_LICENSE("GPL");
