// SPDX-License-Identifier: GPL-2.0
/*
 * The counters: a block for each CPU, so that a producer writes no cache line of another CPU.
 */
#include "core/common/counters.h"

#include "kernel/atomic.h"
#include "kernel/cpus.h"
#include "kernel/percpu.h"

namespace zem {

namespace {

struct Words {
	u64 of[static_cast<size_t>(Counter::kCount)];
};

ZEM_PERCPU constinit PerCpu<Words> words;

} /* namespace */

/* Atomic, because an interrupt or migration may occur between the lookup and the addition. */
void count(Counter counter)
{
	atomic_add(1, words.mine().of[static_cast<size_t>(counter)]);
}

u64 counted(Counter counter)
{
	u64 sum = 0;
	for (const unsigned int cpu : PossibleCpus())
		sum += read_once(words.of(cpu).of[static_cast<size_t>(counter)]);
	return sum;
}

} /* namespace zem */
