/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Parses the "total" views of /proc/sched_metrics, which show the four scheduler histograms as
 * text. The interval views in the same directory are not read: each read resets them for other
 * readers.
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

/* One reading for each row of kSchedHistograms. */
using SchedReading = std::array<HistogramReading, kSchedHistograms.size()>;

/* Reads the views in @directory. Throws a Failure with the name of the file. */
SchedReading read_sched_views(const std::string &directory);

/* Returns the increase from @earlier to @later. Throws a Failure if a counter decreased. */
SchedReading difference(const SchedReading &later, const SchedReading &earlier);

/*
 * Parse the text of a histogram and the text of its times. Throw a Failure if the text has another
 * form. The times need the CPUs of the histogram in @reading.
 */
HistogramReading parse_counts_view(std::string_view text);
void parse_time_view(std::string_view text, HistogramReading &reading);

} // namespace zemctl
