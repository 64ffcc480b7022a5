// SPDX-License-Identifier: GPL-2.0
/* The entry points for the module loader. */
#include <linux/init.h>
#include <linux/module.h>

#include "module.h"

static int __init zem_module_init(void)
{
	return zem_init();
}
module_init(zem_module_init);

static void __exit zem_module_exit(void)
{
	zem_exit();
}
module_exit(zem_module_exit);

MODULE_DESCRIPTION("Telemetry hub: tagged records from kernel producers to user space");
MODULE_LICENSE("GPL");
