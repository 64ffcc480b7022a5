// SPDX-License-Identifier: GPL-2.0
/* Which CPUs there are and which are online; per-CPU variables. */
#include "cpus.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kernel/api/cpumask.h"
#include "kernel/api/percpu.h"
#include "kernel.h"

namespace sim {

Cpus::Cpus(unsigned int possible) : possible_(possible)
{
	if (possible > kMost)
		std::abort();
	for (unsigned int cpu = 0; cpu < possible; cpu++)
		online_[cpu] = true;
}

void Cpus::set_online(unsigned int cpu, bool online)
{
	online_.at(cpu) = online;
	if (online && when_online_)
		when_online_(cpu);
}

void Cpus::set_percpu_section(std::byte *start, std::byte *end)
{
	section_ = start;
	section_size_ = static_cast<size_t>(end - start);
	copies_.clear();
	for (unsigned int cpu = 0; section_size_ && cpu < possible_; cpu++) {
		copies_.push_back(std::make_unique<std::byte[]>(section_size_));
		memcpy(copies_.back().get(), section_, section_size_);
	}
}

void *Cpus::instance(void *variable, unsigned int cpu)
{
	const auto offset = static_cast<size_t>(static_cast<std::byte *>(variable) - section_);
	if (offset >= section_size_ || cpu >= possible_) {
		fprintf(stderr, "per-CPU access to %s of cpu %u\n", symbol_name(variable).c_str(),
			cpu);
		std::_Exit(EXIT_FAILURE);
	}
	return copies_[cpu].get() + offset;
}

} /* namespace sim */

bool helper_cpu_online(unsigned int cpu)
{
	return sim::Kernel::get().cpus.online(cpu);
}

unsigned int helper_nr_cpu_ids(void)
{
	return sim::Kernel::get().cpus.possible();
}

void *helper_this_cpu_ptr(void *variable)
{
	return helper_per_cpu_ptr(variable, sim::Scheduler::current().cpu);
}

void *helper_per_cpu_ptr(void *variable, unsigned int cpu)
{
	return sim::Kernel::get().cpus.instance(variable, cpu);
}
