// SPDX-License-Identifier: GPL-2.0
/* Fields of the types of <linux/miscdevice.h>, and macros of <linux/mm.h>. */
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/mm.h>
#include <linux/module.h>

#include "../api/miscdevice.h"

void helper_miscdevice_init(struct miscdevice *device, struct file_operations *operations,
			    const char *name, int (*open)(struct inode *, struct file *),
			    int (*mmap)(struct file *, struct vm_area_struct *))
{
	*operations = (struct file_operations){
		.owner = THIS_MODULE,
		.open = open,
		.mmap = mmap,
	};
	*device = (struct miscdevice){
		.minor = MISC_DYNAMIC_MINOR,
		.name = name,
		.fops = operations,
	};
}

unsigned long helper_vma_size(const struct vm_area_struct *vma)
{
	return vma->vm_end - vma->vm_start;
}

int helper_remap_pfn_range(struct vm_area_struct *vma, unsigned long pfn, unsigned long size)
{
	return remap_pfn_range(vma, vma->vm_start, pfn, size, vma->vm_page_prot);
}

unsigned long helper_virt_to_pfn(const void *address)
{
	return virt_to_phys((void *)address) >> PAGE_SHIFT;
}
