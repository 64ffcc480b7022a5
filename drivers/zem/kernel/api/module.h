/* SPDX-License-Identifier: GPL-2.0 */
/* The module itself: <linux/module.h>. */
#ifndef _ZEM_KERNEL_API_MODULE_H
#define _ZEM_KERNEL_API_MODULE_H

#include "types.h"

ZEM_API_BEGIN

struct kobject;

/* Return: /sys/module/zem, which exists from before the module's init until after its exit. */
struct kobject *helper_module_kobject(void);

/* Takes a reference to the module that is never dropped: rmmod fails with EAGAIN from now on. */
void helper_module_pin(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_MODULE_H */
