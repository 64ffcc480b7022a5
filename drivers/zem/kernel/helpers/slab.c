// SPDX-License-Identifier: GPL-2.0
/* The allocators of <linux/slab.h>, which are inline functions or macros. */
#include <linux/slab.h>

#include "../api/slab.h"

void *helper_kzalloc(size_t size)
{
	return kzalloc(size, GFP_KERNEL);
}

void *helper_kzalloc_atomic(size_t size)
{
	return kzalloc(size, GFP_ATOMIC);
}
