// SPDX-License-Identifier: GPL-2.0
/*
 * A skeleton of the module that a device loads before zem: it exports what zem imports besides the
 * kernel's symbols (drivers/zem/platform/contract.h). vendor.h has what must be adapted.
 *
 * It also loads on a stock kernel, instead of zem_platform.ko. There it defines the vendor hooks
 * and raises those of the scheduler and of interrupts, so that it can be tried.
 */
#include <linux/init.h>
#include <linux/module.h>

#include "glue.h"

/* In the order in which they start. */
static const struct part {
	int (*init)(void);
	void (*exit)(void);
} parts[] = {
	{task_records_init, task_records_exit},
	{irq_time_init, irq_time_exit},
	{runs_init, runs_exit},
	{cleanup_init, cleanup_exit},
};

static void stop_parts(size_t count)
{
	while (count--)
		parts[count].exit();
}

static int __init glue_init(void)
{
	clusters_init();
	for (size_t i = 0; i < ARRAY_SIZE(parts); i++) {
		int error = parts[i].init();

		if (error) {
			stop_parts(i);
			return error;
		}
	}
	return 0;
}
module_init(glue_init);

static void __exit glue_exit(void)
{
	stop_parts(ARRAY_SIZE(parts));
}
module_exit(glue_exit);

MODULE_DESCRIPTION("Skeleton of a device's glue for zem");
MODULE_LICENSE("GPL");
