// SPDX-License-Identifier: GPL-2.0
/* THIS_MODULE of <linux/module.h>. */
#include <linux/module.h>

#include "../api/module.h"

struct kobject *helper_module_kobject(void)
{
	return &THIS_MODULE->mkobj.kobj;
}

void helper_module_pin(void)
{
	__module_get(THIS_MODULE);
}
