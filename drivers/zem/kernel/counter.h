/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Counters that live in a block which is also a record: plain integers, always accessed
 * atomically. Any context.
 */
#pragma once

#include "api/types.h"

namespace zem {

/* Several CPUs may add at once. */
template <typename T>
void atomic_add(T &counter, T amount)
{
	__atomic_fetch_add(&counter, amount, __ATOMIC_RELAXED);
}

template <typename T>
[[nodiscard]] T atomic_read(const T &counter)
{
	return __atomic_load_n(&counter, __ATOMIC_ACQUIRE);
}

/* The writer is alone, as on its own CPU's counter; readers elsewhere may see it a little late. */
inline void owner_add(u64 &counter, u64 amount)
{
	const u64 value = __atomic_load_n(&counter, __ATOMIC_RELAXED);
	__atomic_store_n(&counter, value + amount, __ATOMIC_RELAXED);
}

[[nodiscard]] inline u64 owner_value(const u64 &counter)
{
	return __atomic_load_n(&counter, __ATOMIC_RELAXED);
}

} /* namespace zem */
