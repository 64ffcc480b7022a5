/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Kernel versions differ in what this header defines: a file of this module uses the names here,
 * and has no condition on the kernel's version itself. drivers/zem/kernel/features.mk defines most
 * of the conditions.
 */
#ifndef _ZEM_PLATFORM_COMPAT_H
#define _ZEM_PLATFORM_COMPAT_H

#include <linux/blkdev.h>
#include <linux/device/class.h>
#include <linux/err.h>
#include <linux/export.h>
#include <linux/module.h>
#include <linux/rcupdate.h>
#include <linux/tracepoint.h>
#include <linux/version.h>

#include "../../drivers/zem/kernel/helpers/compat.h"

/* Since 6.16 DECLARE_TRACE() appends _tp to the name. */
#ifdef DECLARE_TRACE_EVENT
#define DECLARE_HOOK_TRACE DECLARE_TRACE_EVENT
#else
#define DECLARE_HOOK_TRACE DECLARE_TRACE
#endif

/* The parameters of class_interface.add_dev; before 6.4 the interface is one of them. */
#ifdef KERNEL_ADD_DEV_TAKES_INTERFACE
#define ADD_DEV_PARAMETERS struct device *device, struct class_interface *interface
#else
#define ADD_DEV_PARAMETERS struct device *device
#endif

#ifndef kfree_rcu_mightsleep
#define kfree_rcu_mightsleep(pointer) kfree_rcu(pointer)
#endif

#ifndef CONFIG_HAVE_ARCH_PREL32_RELOCATIONS
#error "the export tables of modules have absolute addresses on this architecture"
#endif

/*
 * A row of a module's export table on architectures with relative references, such as arm64. The
 * kernel's definition is private since 6.4.
 */
#ifndef KERNEL_SYMBOL_IS_PUBLIC
struct kernel_symbol {
	int value_offset;
	int name_offset;
	int namespace_offset;
};
#endif

/* Return: a disk without a driver, or an error pointer. By version: the function is a macro. */
static inline struct gendisk *allocate_disk(void)
{
#if LINUX_VERSION_CODE >= KERNEL_VERSION(6, 9, 0)
	return blk_alloc_disk(NULL, NUMA_NO_NODE);
#else
	return blk_alloc_disk(NUMA_NO_NODE) ?: ERR_PTR(-ENOMEM);
#endif
}

#endif /* _ZEM_PLATFORM_COMPAT_H */
