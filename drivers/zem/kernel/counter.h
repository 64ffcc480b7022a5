/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Counters that are also fields of a record: plain integers, always accessed atomically.
 * Context: any.
 */
#pragma once

#include "api/types.h"

namespace zem {

/* Several CPUs may add concurrently. */
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

/* For a counter with a single writer, such as the CPU's own. Readers may see it late. */
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
