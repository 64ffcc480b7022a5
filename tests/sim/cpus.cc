// SPDX-License-Identifier: GPL-2.0
/* CPUs that are possible and online, their packages, and per-CPU variables. */
#include "cpus.h"

#include <cstdio>
#include <cstdlib>

#include "kernel.h"
#include "kernel/api/cpumask.h"
#include "kernel/api/percpu.h"
#include "kernel/api/topology.h"
#include "platform/contract.h"

/* Only its address is used: the instances are kept with the CPUs. */
u64 cpu_irqtime;

namespace sim {

namespace {

/* AddressSanitizer protects the gaps between variables, which are copied too. */
[[gnu::no_sanitize("address", "thread")]] void copy_with_gaps(std::byte *to,
							      std::span<const std::byte> from)
{
	for (size_t i = 0; i < from.size(); i++)
		to[i] = *static_cast<const volatile std::byte *>(from.data() + i);
}

} /* namespace */

Cpus::Cpus(const Options &options) : ids_(options.cpus), absent_(options.absent_cpus)
{
	if (ids_ > kMost || !possible(0))
		std::abort();
	for (unsigned int cpu = 0; cpu < ids_; cpu++)
		online_[cpu] = possible(cpu);
	constexpr unsigned int kSmallCpus = 4;
	for (unsigned int cpu = kSmallCpus; cpu < kMost; cpu++)
		packages_[cpu] = 1;
}

void Cpus::set_online(unsigned int cpu, bool online)
{
	online_.at(cpu) = online;
	if (online && when_online_)
		when_online_(cpu);
}

void Cpus::set_module_data(std::span<const std::byte> data)
{
	module_data_ = data;
	copies_.clear();
	for (unsigned int cpu = 0; cpu < ids_; cpu++) {
		copies_.push_back(std::make_unique<std::byte[]>(data.size()));
		copy_with_gaps(copies_.back().get(), data);
	}
}

void *Cpus::instance(void *variable, unsigned int cpu)
{
	const auto offset =
		static_cast<size_t>(static_cast<const std::byte *>(variable) - module_data_.data());
	const bool is_irqtime = variable == &::cpu_irqtime;
	if (!possible(cpu) || (!is_irqtime && offset >= module_data_.size())) {
		fprintf(stderr, "per-CPU access to %s of cpu %u\n", symbol_name(variable).c_str(),
			cpu);
		std::_Exit(EXIT_FAILURE);
	}
	return is_irqtime ? static_cast<void *>(&irqtime_[cpu]) : copies_[cpu].get() + offset;
}

void Cpus::set_irqtime(unsigned int cpu, uint64_t ns)
{
	__atomic_store_n(&irqtime_.at(cpu), ns, __ATOMIC_RELAXED);
}

uint64_t Cpus::irqtime(unsigned int cpu) const
{
	return __atomic_load_n(&irqtime_.at(cpu), __ATOMIC_RELAXED);
}

} /* namespace sim */

using sim::Kernel;

bool helper_cpu_online(unsigned int cpu)
{
	return Kernel::get().cpus.online(cpu);
}

bool helper_cpu_possible(unsigned int cpu)
{
	return Kernel::get().cpus.possible(cpu);
}

unsigned int helper_nr_cpu_ids(void)
{
	return Kernel::get().cpus.ids();
}

unsigned int helper_cpu_package(unsigned int cpu)
{
	return Kernel::get().cpus.package(cpu);
}

void *helper_this_cpu_ptr(void *variable)
{
	return helper_per_cpu_ptr(variable, sim::Scheduler::current().fields.cpu);
}

void *helper_per_cpu_ptr(void *variable, unsigned int cpu)
{
	return Kernel::get().cpus.instance(variable, cpu);
}
