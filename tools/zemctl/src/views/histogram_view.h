/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The scheduler histograms as tables with bars for a terminal.
 */
#pragma once

#include <string>

#include "text/bars.h"
#include "views/sched_views.h"

namespace zemctl {

/* All CPUs together: a line for each bucket with its count, share and bar. */
std::string histogram_table(const SchedHistogram &histogram, const HistogramReading &reading,
			    const ViewStyle &style);

/* The CPUs side by side, each count with a level relative to its CPU's largest. */
std::string cpu_table(const SchedHistogram &histogram, const HistogramReading &reading,
		      const ViewStyle &style);

} // namespace zemctl
