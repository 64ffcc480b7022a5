/* SPDX-License-Identifier: GPL-2.0 */
/* The kernel's lock-free list: any CPU pushes, one reader takes the whole list. Context: any. */
#pragma once

#include "api/llist.h"

namespace zem {

inline void llist_add(llist_node &node, llist_head &head)
{
	llist_node *rest = __atomic_load_n(&head.first, __ATOMIC_RELAXED);
	do {
		__atomic_store_n(&node.next, rest, __ATOMIC_RELAXED);
	} while (!__atomic_compare_exchange_n(&head.first, &rest, &node, true, __ATOMIC_RELEASE,
					      __ATOMIC_RELAXED));
}

[[nodiscard]] inline bool llist_empty(const llist_head &head)
{
	return !__atomic_load_n(&head.first, __ATOMIC_RELAXED);
}

/* For a list that was taken. Other CPUs may read @node.next to check whether it is listed. */
[[nodiscard]] inline llist_node *llist_next(const llist_node &node)
{
	return __atomic_load_n(&node.next, __ATOMIC_RELAXED);
}

inline void llist_set_next(llist_node &node, llist_node *next)
{
	__atomic_store_n(&node.next, next, __ATOMIC_RELAXED);
}

/* Return: the last node pushed, linked to all others; null if the list was empty. */
[[nodiscard]] inline llist_node *llist_del_all(llist_head &head)
{
	return __atomic_exchange_n(&head.first, nullptr, __ATOMIC_ACQ_REL);
}

} /* namespace zem */
