/* SPDX-License-Identifier: GPL-2.0 */
/* Doubly linked lists: the type of <linux/list.h>. */
#ifndef _ZEM_KERNEL_API_LIST_H
#define _ZEM_KERNEL_API_LIST_H

#include "types.h"

#ifdef __cplusplus
struct list_head {
	list_head *next;
	list_head *prev;
};
#endif

#endif /* _ZEM_KERNEL_API_LIST_H */
