/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats the scheduler histograms as tables with bars for a terminal.
 */
#pragma once

#include <string>

#include "text/bars.h"
#include "views/sched_views.h"

namespace zemctl {

/* Returns the sums of all CPUs: for each bucket a line with its count, percentage and bar. */
std::string histogram_table(const SchedHistogram &histogram, const HistogramReading &reading,
			    const ViewStyle &style);

/* Returns the CPUs in columns. A character shows each count relative to the largest of its CPU. */
std::string cpu_table(const SchedHistogram &histogram, const HistogramReading &reading,
		      const ViewStyle &style);

} // namespace zemctl
