/* SPDX-License-Identifier: GPL-2.0 */
/* Memory: <linux/slab.h>. */
#ifndef _ZEM_KERNEL_API_SLAB_H
#define _ZEM_KERNEL_API_SLAB_H

#include "types.h"

ZEM_API_BEGIN

/*
 * GFP_KERNEL: may sleep. A @size that is a power of two is aligned to itself.
 * Return: zero-filled, physically contiguous memory, or NULL.
 */
void *helper_kzalloc(size_t size);
/* The same, but it never sleeps: any context without a run-queue lock. */
void *helper_kzalloc_atomic(size_t size);
void kfree(const void *memory);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_SLAB_H */
