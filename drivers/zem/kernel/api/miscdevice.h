/* SPDX-License-Identifier: GPL-2.0 */
/* Misc devices: <linux/miscdevice.h>, and the mapping of memory into user space. May sleep. */
#ifndef _ZEM_KERNEL_API_MISCDEVICE_H
#define _ZEM_KERNEL_API_MISCDEVICE_H

#include "types.h"

ZEM_API_BEGIN

struct miscdevice;
struct file_operations;
struct inode;
struct file;
struct vm_area_struct;

/* Initialises @device and @operations, provided by the caller, for a device with a dynamic minor.
 */
void helper_miscdevice_init(struct miscdevice *device, struct file_operations *operations,
			    const char *name, int (*open)(struct inode *, struct file *),
			    int (*mmap)(struct file *, struct vm_area_struct *));
int misc_register(struct miscdevice *device);
void misc_deregister(struct miscdevice *device);

/* Return: size of the mapping in bytes, a multiple of the page size. */
unsigned long helper_vma_size(const struct vm_area_struct *vma);

/*
 * Maps @size bytes of physically contiguous memory, starting with page @pfn, at the start of @vma.
 * Return: 0 or a negative error code.
 */
int helper_remap_pfn_range(struct vm_area_struct *vma, unsigned long pfn, unsigned long size);

/* Return: the page frame number of an address from kzalloc(). */
unsigned long helper_virt_to_pfn(const void *address);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_MISCDEVICE_H */
