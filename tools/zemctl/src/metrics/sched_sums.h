/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The histograms of the sched records.
 */
#pragma once

#include <array>

#include <linux/zem.h>

#include "decode/histogram.h"
#include "metrics/sums.h"

namespace zemctl {

class SchedSums {
public:
	void add(const zem_sched &sched, Adder &adder);
	void write(MetricWriter &writer, std::uint64_t start) const;

private:
	struct Sums {
		HistogramSums<ZEM_SCHED_BUCKETS> histogram;
		std::uint64_t cpus[ZEM_SCHED_CPUS] = {};
	};

	std::array<Sums, kSchedHistograms.size()> sums_ = {};
};

} // namespace zemctl
