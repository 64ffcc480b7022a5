/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Counters in sets by CPU, for data that the module's small per-CPU area has no room for. A set
 * begins a cache line. CPUs share a set on a machine that has more of them than there are sets, and
 * a caller may migrate meanwhile, so additions are atomic. Context: any.
 */
#pragma once

#include "api/types.h"
#include "current.h"

namespace zem {

/* Return: the set of this CPU. */
template <typename Set, size_t kSets>
[[nodiscard, gnu::always_inline]] inline Set &set_of_this_cpu(Set (&sets)[kSets])
{
	static_assert(alignof(Set) >= 64);
	return sets[current_cpu() % kSets];
}

} /* namespace zem */
