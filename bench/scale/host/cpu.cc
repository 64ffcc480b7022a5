// SPDX-License-Identifier: GPL-2.0
/* CPUs and per-CPU variables. Instances of different CPUs share no page, as in the kernel. */
#include "host/cpu.h"

#include <sched.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "host/objects.h"
#include "kernel/api/cpumask.h"
#include "kernel/api/percpu.h"
#include "kernel/api/preempt.h"

/* The linker's names for the ends of the section that kernel/percpu.h uses. */
extern char percpu_begin[] asm("__start_zem_percpu");
extern char percpu_end[] asm("__stop_zem_percpu");

namespace host {

namespace {

std::ptrdiff_t offsets[kCpus];

/* Return: the first CPU of the core that @cpu belongs to. */
int core_of(int cpu)
{
	std::ifstream file("/sys/devices/system/cpu/cpu" + std::to_string(cpu) +
			   "/topology/thread_siblings_list");
	int first = cpu;
	file >> first;
	return file ? first : cpu;
}

std::vector<int> allowed_cpus()
{
	std::vector<int> cpus;
	cpu_set_t set;
	CPU_ZERO(&set);
	if (sched_getaffinity(0, sizeof(set), &set))
		return {0};
	for (int cpu = 0; cpu < CPU_SETSIZE && cpus.size() < kCpus; cpu++)
		if (CPU_ISSET(cpu, &set))
			cpus.push_back(cpu);
	return cpus;
}

/* Sorts the CPUs by their rank in their core, then by number. */
std::vector<int> in_order(std::vector<int> cpus)
{
	std::map<int, int> seen;
	std::map<int, int> rank;
	for (const int cpu : cpus)
		rank[cpu] = seen[core_of(cpu)]++;
	std::stable_sort(cpus.begin(), cpus.end(), [&](int a, int b) { return rank[a] < rank[b]; });
	return cpus;
}

} /* namespace */

void create_percpu()
{
	constexpr size_t kPage = 4096;
	const auto size = static_cast<size_t>(percpu_end - percpu_begin);
	const size_t room = (size + kPage - 1) / kPage * kPage;

	for (std::ptrdiff_t &offset : offsets) {
		auto *instance = static_cast<char *>(std::aligned_alloc(kPage, room));
		if (!instance)
			std::abort();
		memcpy(instance, percpu_begin, size);
		offset = instance - percpu_begin;
	}
	this_cpu.percpu_offset = offsets[0];
}

bool enter_cpu(unsigned int cpu, task_struct *task)
{
	const std::vector<int> &real = real_cpus();
	cpu_set_t set;
	CPU_ZERO(&set);
	CPU_SET(real[cpu % real.size()], &set);

	task->cpu = cpu;
	this_cpu = {.id = cpu, .preempt_count = 0, .percpu_offset = offsets[cpu], .current = task};
	return sched_setaffinity(0, sizeof(set), &set) == 0;
}

const std::vector<int> &real_cpus()
{
	static const std::vector<int> cpus = in_order(allowed_cpus());
	return cpus;
}

std::size_t real_cores()
{
	std::map<int, int> cores;
	for (const int cpu : real_cpus())
		cores[core_of(cpu)]++;
	return cores.size();
}

} /* namespace host */

bool helper_cpu_online(unsigned int cpu)
{
	return cpu < host::kCpus;
}

bool helper_cpu_possible(unsigned int cpu)
{
	return cpu < host::kCpus;
}

unsigned int helper_nr_cpu_ids(void)
{
	return host::kCpus;
}

void *helper_this_cpu_ptr(void *variable)
{
	return static_cast<char *>(variable) + host::this_cpu.percpu_offset;
}

void *helper_per_cpu_ptr(void *variable, unsigned int cpu)
{
	return static_cast<char *>(variable) + host::offsets[cpu];
}

/* A count and a compiler barrier, as in a kernel whose tasks cannot be preempted by a signal. */
void helper_preempt_disable(void)
{
	host::this_cpu.preempt_count++;
	asm volatile("" ::: "memory");
}

void helper_preempt_enable(void)
{
	asm volatile("" ::: "memory");
	host::this_cpu.preempt_count--;
}
