/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The scheduler histograms as tables with bars for a terminal.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "sched_views.h"

namespace zemctl {

enum class BarStyle { kBlocks, kAscii };

struct ViewStyle {
	std::size_t width = 80;
	BarStyle bars = BarStyle::kBlocks;
};

/* The bar of @value, where @largest fills @cells; nothing for 0, never nothing for more. */
std::string bar(std::uint64_t value, std::uint64_t largest, std::size_t cells, BarStyle style);

/* One character of a height that shows @value; a space for 0. */
std::string level(std::uint64_t value, std::uint64_t largest, BarStyle style);

/* All CPUs together: a line for each bucket with its count, share and bar. */
std::string histogram_table(const SchedHistogram &histogram, const HistogramReading &reading,
			    const ViewStyle &style);

/* The CPUs side by side, each count with a level relative to its CPU's largest. */
std::string cpu_table(const SchedHistogram &histogram, const HistogramReading &reading,
		      const ViewStyle &style);

} // namespace zemctl
