// SPDX-License-Identifier: GPL-2.0
/*
 * Formats the scheduler histograms as tables with bars for a terminal.
 */
#include "views/histogram_view.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <vector>

#include <fmt/format.h>

namespace zemctl {

namespace {

std::uint64_t largest_of(const HistogramTotals &totals)
{
	return std::ranges::max(totals.counts);
}

/* Returns the width of the numbers of a CPU, which is that of the widest number of all CPUs. */
std::size_t cell_width(const HistogramReading &reading)
{
	std::size_t width = 0;
	for (const CpuTotals &cpu : reading.cpus) {
		width = std::max(width, fmt::formatted_size("cpu{}", cpu.cpu));
		const std::uint64_t largest =
			std::max(largest_of(cpu.totals), cpu.totals.milliseconds);
		width = std::max(width, fmt::formatted_size("{}", largest));
	}
	return width;
}

std::string cpu_rows(const SchedHistogram &histogram, const HistogramReading &reading,
		     std::span<const CpuTotals> cpus, BarStyle bars)
{
	const std::size_t width = cell_width(reading);
	std::string text(kBarLabelWidth, ' ');
	auto out = std::back_inserter(text);
	for (const CpuTotals &cpu : cpus)
		fmt::format_to(out, "  {:>{}}  ", fmt::format("cpu{}", cpu.cpu), width);
	end_line(text);
	for (std::size_t bucket = 0; bucket < ZEM_SCHED_BUCKETS; bucket++) {
		fmt::format_to(out, "{:>{}}", bucket_label(reading.bounds, bucket, histogram.unit),
			       kBarLabelWidth);
		for (const CpuTotals &cpu : cpus)
			fmt::format_to(out, "  {:>{}} {}", cpu.totals.counts[bucket], width,
				       level(cpu.totals.counts[bucket], largest_of(cpu.totals),
					     bars));
		end_line(text);
	}
	fmt::format_to(out, "{:>{}}", "time in ms", kBarLabelWidth);
	for (const CpuTotals &cpu : cpus)
		fmt::format_to(out, "  {:>{}}  ", cpu.totals.milliseconds, width);
	end_line(text);
	return text;
}

} // namespace

std::string histogram_table(const SchedHistogram &histogram, const HistogramReading &reading,
			    const ViewStyle &style)
{
	const std::uint64_t count = reading.all.count();
	std::vector<BarRow> rows;
	for (std::size_t bucket = 0; bucket < ZEM_SCHED_BUCKETS; bucket++) {
		const std::uint64_t here = reading.all.counts[bucket];
		rows.push_back({bucket_label(reading.bounds, bucket, histogram.unit), here,
				percent_of(here, count)});
	}
	return fmt::format("{}: {} in {} ms\n", histogram.title, count, reading.all.milliseconds) +
	       bar_table(rows, largest_of(reading.all), style);
}

std::string cpu_table(const SchedHistogram &histogram, const HistogramReading &reading,
		      const ViewStyle &style)
{
	const std::size_t cell = 2 + cell_width(reading) + 2;
	const std::size_t room = style.width > kBarLabelWidth ? style.width - kBarLabelWidth : 0;
	const std::size_t at_once = std::max<std::size_t>(room / cell, 1);
	std::string text;
	for (std::span<const CpuTotals> rest = reading.cpus; !rest.empty();) {
		const auto now = rest.first(std::min(at_once, rest.size()));
		text += cpu_rows(histogram, reading, now, style.bars);
		rest = rest.subspan(now.size());
	}
	return text;
}

} // namespace zemctl
