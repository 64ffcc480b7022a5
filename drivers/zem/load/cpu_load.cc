// SPDX-License-Identifier: GPL-2.0
/* CPU records: the increase of each CPU's activity counter over that of its time base. */
#include "load/cpu_load.h"

#include "load/clusters.h"
#include "load/load_metrics.h"
#include "platform/contract.h"

namespace zem {

namespace {

/* Indices of the values of morva_amu_read(). */
enum : size_t { kCycles, kTimeBase };

u64 usage(unsigned int cpu, u64 cycles, u64 time)
{
	return cluster_scale(get_cluster_by_cpu(cpu)) * cycles / time;
}

/* If the counter cannot be read, @counter keeps the values of the previous CPU. */
void sample(CpuSamples &samples, unsigned int cpu, u64 (&counter)[2])
{
	zem_cpu &unit = samples.cpu_metrics_unit[cpu];
	const u64 old_cycles = unit.cycles;
	const u64 old_time = samples.cpu_start_time[cpu];

	morva_amu_read(static_cast<int>(cpu), 0, counter);
	unit.cpu = cpu;
	unit.cycles = counter[kCycles];
	unit.usage = 0;
	if (counter[kTimeBase] <= old_time)
		return;
	samples.cpu_start_time[cpu] = counter[kTimeBase];
	unit.usage = usage(cpu, unit.cycles - old_cycles, counter[kTimeBase] - old_time);
}

} /* namespace */

void sample_cpus(CpuSamples &samples, FunctionRef<void(const zem_cpu &unit)> emit)
{
	u64 counter[2] = {};
	for (unsigned int cpu = 0; cpu < ZEM_LOAD_CPUS; cpu++) {
		sample(samples, cpu, counter);
		emit(samples.cpu_metrics_unit[cpu]);
	}
}

void cpu_metrics_info_upload(Setter set)
{
	const auto report = [set](const zem_cpu &unit) {
		if (load_metrics_report.is_on())
			upload(set, unit);
	};
	load_samples.with([&](LoadSamples &samples) {
		samples.window.reset_load_start_time();
		if (samples.window.time_delta)
			sample_cpus(samples.cpus, report);
	});
}

} /* namespace zem */
