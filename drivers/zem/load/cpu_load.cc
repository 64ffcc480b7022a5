// SPDX-License-Identifier: GPL-2.0
/* CPU records: the increase of each CPU's activity counter over that of its time base. */
#include "load/clusters.h"
#include "load/load_metrics.h"
#include "load/window.h"
#include "platform/contract.h"

namespace zem {

namespace {

/* As of the last sample; under load_lock. */
constinit zem_cpu cpu_metrics_unit[ZEM_LOAD_CPUS]{};
constinit u64 cpu_start_time[ZEM_LOAD_CPUS]{};

/* What morva_amu_read() fills. */
enum : size_t { kCycles, kTimeBase };

u64 usage(unsigned int cpu, u64 cycles, u64 time)
{
	return cluster_scale(get_cluster_by_cpu(cpu)) * cycles / time;
}

/* A counter that can't be read leaves @counter as it is. */
void sample(unsigned int cpu, u64 (&counter)[2])
{
	zem_cpu &unit = cpu_metrics_unit[cpu];
	const u64 old_cycles = unit.cycles;
	const u64 old_time = cpu_start_time[cpu];

	morva_amu_read(static_cast<int>(cpu), 0, counter);
	unit.cpu = cpu;
	unit.cycles = counter[kCycles];
	unit.usage = 0;
	if (counter[kTimeBase] <= old_time)
		return;
	cpu_start_time[cpu] = counter[kTimeBase];
	unit.usage = usage(cpu, unit.cycles - old_cycles, counter[kTimeBase] - old_time);
}

/* @context is the address of a Setter. */
void cpu_metrics_info_upload_each(const zem_cpu &unit, void *context)
{
	const Setter set = *static_cast<const Setter *>(context);
	if (set && load_metrics_report.is_on())
		set(0, &unit, sizeof(unit), 0);
}

} /* namespace */

void sample_cpus(void (*visit)(const zem_cpu &unit, void *context), void *context)
{
	u64 counter[2] = {};
	for (unsigned int cpu = 0; cpu < ZEM_LOAD_CPUS; cpu++) {
		sample(cpu, counter);
		visit(cpu_metrics_unit[cpu], context);
	}
}

void cpu_metrics_info_upload(Setter set)
{
	LockGuard guard(load_lock);
	reset_load_start_time();
	if (time_delta)
		sample_cpus(cpu_metrics_info_upload_each, &set);
}

} /* namespace zem */
