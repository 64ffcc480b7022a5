// SPDX-License-Identifier: GPL-2.0
/*
 * The counters themselves: a block of words for each CPU, so that no producer touches a line that
 * another CPU writes.
 */
#include "core/counters.h"

#include "core/counter_files.h"
#include "kernel/counter.h"
#include "kernel/cpus.h"
#include "kernel/percpu.h"

namespace zem {

namespace {

struct Words {
	u64 of[static_cast<size_t>(Counter::kCount)];
};

ZEM_PERCPU constinit PerCpu<Words> words;

} /* namespace */

/* Atomic: an interrupt or a migration may come between finding the word and adding to it. */
void count(Counter counter)
{
	atomic_add(words.mine().of[static_cast<size_t>(counter)], u64{1});
}

u64 counted(Counter counter)
{
	u64 sum = 0;
	for (const unsigned int cpu : PossibleCpus())
		sum += owner_value(words.of(cpu).of[static_cast<size_t>(counter)]);
	return sum;
}

} /* namespace zem */
