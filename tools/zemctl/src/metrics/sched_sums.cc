// SPDX-License-Identifier: GPL-2.0
/*
 * The histograms of the sched records.
 */
#include "metrics/sched_sums.h"

namespace zemctl {

namespace {

struct SchedFamilies {
	Metric histogram;
	Metric cpus;
};

/* In the order of kSchedHistograms. */
constexpr std::array<SchedFamilies, kSchedHistograms.size()> kSchedFamilies = {{
	{Metric::kIrq, Metric::kIrqCpu},
	{Metric::kSvpRuntime, Metric::kSvpRuntimeCpu},
	{Metric::kSvpRunDelay, Metric::kSvpRunDelayCpu},
	{Metric::kSvpDState, Metric::kSvpDStateCpu},
}};

} // namespace

void SchedSums::add(const zem_sched &sched, Adder &adder)
{
	for (std::size_t i = 0; i < sums_.size(); i++) {
		const zem_sched_block &block = sched.*kSchedHistograms[i].block;
		sums_[i].histogram.add(block.counts, block.total_time * kSchedTimeUnit, adder);
		for (std::size_t cpu = 0; cpu < ZEM_SCHED_CPUS; cpu++)
			sums_[i].cpus[cpu] += block.cpu_time[cpu] * kSchedTimeUnit;
	}
}

void SchedSums::write(MetricWriter &writer, std::uint64_t start) const
{
	for (std::size_t i = 0; i < sums_.size(); i++) {
		writer.begin(kSchedFamilies[i].histogram);
		writer.histogram({}, sums_[i].histogram.values(kSchedHistograms[i].bounds), start);
		writer.begin(kSchedFamilies[i].cpus);
		for (std::size_t cpu = 0; cpu < ZEM_SCHED_CPUS; cpu++)
			writer.counter(Labels().add("cpu", cpu), sums_[i].cpus[cpu], start);
	}
}

} // namespace zemctl
