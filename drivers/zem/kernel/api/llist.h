/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Lock-free lists: the types of <linux/llist.h>. Their operations are inline functions in the
 * kernel, and are defined again in kernel/llist.h.
 */
#ifndef _ZEM_KERNEL_API_LLIST_H
#define _ZEM_KERNEL_API_LLIST_H

#include "types.h"

#ifdef __cplusplus
struct llist_node {
	llist_node *next;
};

struct llist_head {
	llist_node *first;
};
#endif

#endif /* _ZEM_KERNEL_API_LLIST_H */
