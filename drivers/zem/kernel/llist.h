/* SPDX-License-Identifier: GPL-2.0 */
/* The kernel's lock-free list: pushed by anybody, taken whole. Any context. */
#pragma once

#include "api/llist.h"

namespace zem {

/* @first to @last hang together already. */
inline void llist_push_chain(llist_head &head, llist_node &first, llist_node &last)
{
	llist_node *rest = __atomic_load_n(&head.first, __ATOMIC_RELAXED);
	do {
		__atomic_store_n(&last.next, rest, __ATOMIC_RELAXED);
	} while (!__atomic_compare_exchange_n(&head.first, &rest, &first, true, __ATOMIC_RELEASE,
					      __ATOMIC_RELAXED));
}

inline void llist_push(llist_head &head, llist_node &node)
{
	llist_push_chain(head, node, node);
}

[[nodiscard]] inline bool llist_is_empty(const llist_head &head)
{
	return !__atomic_load_n(&head.first, __ATOMIC_RELAXED);
}

/* Of a list that was taken; others may still look whether the node is on one. */
[[nodiscard]] inline llist_node *llist_next(const llist_node &node)
{
	return __atomic_load_n(&node.next, __ATOMIC_RELAXED);
}

/* Return: the node pushed last, from which the others hang; null: the list was empty. */
[[nodiscard]] inline llist_node *llist_take_all(llist_head &head)
{
	return __atomic_exchange_n(&head.first, nullptr, __ATOMIC_ACQ_REL);
}

} /* namespace zem */
