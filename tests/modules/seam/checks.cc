// SPDX-License-Identifier: GPL-2.0
/*
 * Checks static keys, whose branches the kernel patches, per-CPU variables, and atomic functions,
 * whose instructions depend on the CPU.
 */
#include "seam_test.h"

#include "kernel/api/cpumask.h"
#include "kernel/api/printk.h"
#include "kernel/atomic.h"
#include "kernel/lse.h"
#include "kernel/percpu.h"
#include "kernel/static_key.h"

namespace {

struct Counters {
	u64 first;
	u64 second;
};

constinit zem::StaticKey<false> off_at_load;
constinit zem::StaticKey<true> on_at_load;
ZEM_PERCPU constinit zem::PerCpu<Counters> counters;

int failures;

void check(bool holds, const char *what)
{
	if (holds)
		return;
	failures++;
	pr_err("zem_seam_test: failed: %s\n", what);
}

/* Not inlined, so that the caller executes the instruction that is patched. */
[[gnu::noinline]] bool off_branch()
{
	return off_at_load.is_on();
}

[[gnu::noinline]] bool on_branch()
{
	return on_at_load.is_on();
}

void keys_begin_in_the_state_they_are_declared_with()
{
	check(!off_branch(), "a key declared off is off");
	check(on_branch(), "a key declared on is on");
}

void keys_are_patched_both_ways()
{
	off_at_load.turn_on();
	on_at_load.turn_off();
	check(off_branch(), "a key is on when turned on");
	check(!on_branch(), "a key is off when turned off");
	off_at_load.turn_off();
	on_at_load.turn_on();
	check(!off_branch(), "a key is off again");
	check(on_branch(), "a key is on again");
}

void each_cpu_has_an_instance_of_its_own()
{
	const unsigned int cpus = helper_nr_cpu_ids();
	for (unsigned int cpu = 0; cpu < cpus; cpu++) {
		check(counters.of(cpu).first == 0, "an instance begins with zeros");
		counters.of(cpu).first = cpu + 1;
		counters.of(cpu).second = 2 * cpu;
	}
	for (unsigned int cpu = 0; cpu < cpus; cpu++) {
		check(counters.of(cpu).first == cpu + 1, "an instance keeps its value");
		check(counters.of(cpu).second == 2 * cpu, "an instance keeps its second value");
	}
	/* The task may change CPUs meanwhile: any instance will do, and nothing writes them. */
	const Counters &mine = counters.mine();
	check(mine.first >= 1 && mine.first <= cpus, "this CPU's instance is one of them");
	check(mine.second == 2 * (mine.first - 1), "this CPU's instance is whole");
}

/* The word lies between two others, which a wrong size would change. */
template <typename T>
struct Neighbours {
	T before;
	T word;
	T after;

	[[nodiscard]] bool hold(T expected) const
	{
		return zem::read_once(before) == T{7} && zem::read_once(word) == expected &&
		       zem::read_once(after) == T{9};
	}
};

template <typename T>
void sums_and_swaps_are_exact()
{
	constexpr T kBegin = static_cast<T>(-2);
	static constinit Neighbours<T> words{};
	words = {7, kBegin, 9};
	zem::atomic_add(3, words.word);
	check(words.hold(1), "a sum wraps");
	zem::atomic_sub(2, words.word);
	check(words.hold(static_cast<T>(-1)), "a difference wraps");
	zem::add_seq_cst(6, words.word);
	check(words.hold(5), "an ordered sum wraps");
	check(zem::xchg(words.word, kBegin) == 5, "a swap answers the previous value");
	check(words.hold(kBegin), "a swap stores");
	check(zem::xchg_relaxed(words.word, 4) == kBegin,
	      "a relaxed swap answers the previous value");
	check(words.hold(4), "a relaxed swap stores");
}

/* Bits 20 to 23 of this register are 2 or more if the CPU has the instructions. */
[[maybe_unused]] bool cpu_has_lse()
{
	unsigned long features;
	asm("mrs %0, id_aa64isar0_el1" : "=r"(features));
	return (features >> 20 & 0xf) >= 2;
}

/* A kernel without support for the instructions patches nothing, and a sanitizer does not see them.
 */
void atomic_instructions_of_the_cpu_are_used()
{
#ifdef ZEM_HAS_LSE
	check(zem::lse::is_present() == cpu_has_lse(),
	      "the atomic instructions are used where they are");
#endif
}

} /* namespace */

int seam_checks(void)
{
	keys_begin_in_the_state_they_are_declared_with();
	keys_are_patched_both_ways();
	each_cpu_has_an_instance_of_its_own();
	sums_and_swaps_are_exact<u32>();
	sums_and_swaps_are_exact<s64>();
	atomic_instructions_of_the_cpu_are_used();
	return failures;
}
