// SPDX-License-Identifier: GPL-2.0
/* Checks static keys, whose branches the kernel patches, and per-CPU variables. */
#include "seam_test.h"

#include "kernel/api/cpumask.h"
#include "kernel/api/printk.h"
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

} /* namespace */

int seam_checks(void)
{
	keys_begin_in_the_state_they_are_declared_with();
	keys_are_patched_both_ways();
	each_cpu_has_an_instance_of_its_own();
	return failures;
}
