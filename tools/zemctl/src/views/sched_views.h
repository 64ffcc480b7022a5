/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The "total" views of /proc/sched_metrics, which show the four scheduler histograms as text.
 * The interval views beside them are never touched: a read of those takes from other readers.
 */
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "decode/histogram.h"

namespace zemctl {

struct HistogramTotals {
	std::array<std::uint64_t, ZEM_SCHED_BUCKETS> counts = {};
	std::uint64_t milliseconds = 0;

	std::uint64_t count() const;
};

struct CpuTotals {
	unsigned int cpu;
	HistogramTotals totals;
};

struct HistogramReading {
	std::array<std::uint32_t, kSchedBounds> bounds = {}; /* microseconds */
	HistogramTotals all;
	std::vector<CpuTotals> cpus;
};

/* One for each row of kSchedHistograms. */
using SchedReading = std::array<HistogramReading, kSchedHistograms.size()>;

/* @directory is /proc/sched_metrics. What is not as it should be fails with the file's name. */
SchedReading read_sched_views(const std::string &directory);

/* What came between the two; fails when a counter went back. */
SchedReading difference(const SchedReading &later, const SchedReading &earlier);

/*
 * The texts of a histogram and of its times. They throw a Failure that says what is wrong with
 * them; the times need the CPUs of the counts.
 */
HistogramReading parse_counts_view(std::string_view text);
void parse_time_view(std::string_view text, HistogramReading &reading);

} // namespace zemctl
