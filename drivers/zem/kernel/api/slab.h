/* SPDX-License-Identifier: GPL-2.0 */
/* Memory allocation: <linux/slab.h>. */
#ifndef _ZEM_KERNEL_API_SLAB_H
#define _ZEM_KERNEL_API_SLAB_H

#include "types.h"

ZEM_API_BEGIN

/*
 * Allocates with GFP_KERNEL. A @size that is a power of two is aligned to itself.
 * Context: may sleep. Return: zeroed, physically contiguous memory, or NULL.
 */
void *helper_kzalloc(size_t size);
/*
 * Allocates without sleeping, with the same alignment.
 * Context: any, without a run-queue lock held.
 */
void *helper_kzalloc_atomic(size_t size);
void kfree(const void *memory);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_SLAB_H */
