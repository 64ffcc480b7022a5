// SPDX-License-Identifier: GPL-2.0
/*
 * Stands in for the platform on a stock kernel. Loaded before zem. Its files below
 * /sys/kernel/debug/zem_platform drive it by hand.
 *
 * Each room uses those above it only: common/ has what the others share, contract/ has what zem
 * imports, live/ raises hooks from the running kernel, hub/ serves and cleans up after zem as a
 * module, and inject/ raises hooks and sets values on command.
 */
#include <linux/debugfs.h>
#include <linux/init.h>
#include <linux/kernel.h>
#include <linux/module.h>

#include "contract/parts.h"
#include "contract/svp.h"
#include "contract/task_events.h"
#include "contract/task_records.h"
#include "hub/parts.h"
#include "inject/parts.h"
#include "live/live.h"

static struct dentry *directory;

/* The parts that can fail, in the order in which they start. */
static const struct part {
	int (*init)(struct dentry *directory);
	void (*exit)(void);
} parts[] = {
	{task_records_init, task_records_exit},
	{task_events_init, task_events_exit},
	{svp_init, svp_exit},
	{iowait_init, iowait_exit},
	{live_init, live_exit},
	{zem_symbols_init, zem_symbols_exit},
};

/* Removes the files first: after that no command runs. */
static void stop_parts(size_t count)
{
	debugfs_remove_recursive(directory);
	while (count--)
		parts[count].exit();
}

static int __init zem_platform_init(void)
{
	directory = debugfs_create_dir("zem_platform", NULL);
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
	irqtime_init(directory);
	kzerod_init(directory);
	long_iowait_init(directory);
	produce_init(directory);
	providers_init(directory);
	raise_init(directory);
	record_fields_init(directory);
	record_text_init(directory);
	runtime_init(directory);
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
