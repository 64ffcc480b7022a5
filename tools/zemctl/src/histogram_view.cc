// SPDX-License-Identifier: GPL-2.0
/*
 * The scheduler histograms as tables with bars for a terminal.
 */
#include "histogram_view.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <span>

#include <fmt/format.h>

namespace zemctl {

namespace {

constexpr std::size_t kEighths = 8;
constexpr std::size_t kLabelWidth = 10; /* two spaces to ">=200 ms" */
constexpr std::size_t kCountMin = 8;
constexpr std::size_t kShareWidth = 5; /* "100.0" */
constexpr std::size_t kBarMin = 10;

/* The last byte of the UTF-8 of U+2588, a full block; left and lower parts stand around it. */
constexpr char kFullBlock = static_cast<char>(0x88);

std::string block(char last_byte)
{
	return {static_cast<char>(0xe2), static_cast<char>(0x96), last_byte};
}

/* How many of @parts; what is there at all is at least one. */
std::size_t scaled(std::uint64_t value, std::uint64_t largest, std::size_t parts)
{
	if (value == 0 || largest == 0)
		return 0;
	const double share = static_cast<double>(value) / static_cast<double>(largest);
	const auto rounded =
		static_cast<std::size_t>(std::lround(share * static_cast<double>(parts)));
	return std::max<std::size_t>(rounded, 1);
}

std::uint64_t largest_of(const HistogramTotals &totals)
{
	return std::ranges::max(totals.counts);
}

void end_line(std::string &text)
{
	text.erase(text.find_last_not_of(' ') + 1);
	text += '\n';
}

/* The width of a CPU's numbers, alike for all. */
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
	std::string text(kLabelWidth, ' ');
	auto out = std::back_inserter(text);
	for (const CpuTotals &cpu : cpus)
		fmt::format_to(out, "  {:>{}}  ", fmt::format("cpu{}", cpu.cpu), width);
	end_line(text);
	for (std::size_t bucket = 0; bucket < ZEM_SCHED_BUCKETS; bucket++) {
		fmt::format_to(out, "{:>{}}", bucket_label(reading.bounds, bucket, histogram.unit),
			       kLabelWidth);
		for (const CpuTotals &cpu : cpus)
			fmt::format_to(out, "  {:>{}} {}", cpu.totals.counts[bucket], width,
				       level(cpu.totals.counts[bucket], largest_of(cpu.totals),
					     bars));
		end_line(text);
	}
	fmt::format_to(out, "{:>{}}", "time in ms", kLabelWidth);
	for (const CpuTotals &cpu : cpus)
		fmt::format_to(out, "  {:>{}}  ", cpu.totals.milliseconds, width);
	end_line(text);
	return text;
}

} // namespace

std::string bar(std::uint64_t value, std::uint64_t largest, std::size_t cells, BarStyle style)
{
	if (style == BarStyle::kAscii)
		return std::string(scaled(value, largest, cells), '#');
	const std::size_t eighths = scaled(value, largest, cells * kEighths);
	std::string result;
	for (std::size_t i = 0; i < eighths / kEighths; i++)
		result += block(kFullBlock);
	/* U+2589 to U+258F are seven eighths to one eighth. */
	if (eighths % kEighths != 0)
		result += block(static_cast<char>(0x90 - eighths % kEighths));
	return result;
}

std::string level(std::uint64_t value, std::uint64_t largest, BarStyle style)
{
	const std::size_t height = scaled(value, largest, kEighths);
	if (height == 0)
		return " ";
	if (style == BarStyle::kAscii)
		return std::string(1, ".:-=+*#@"[height - 1]);
	/* U+2581 to U+2588 are one eighth to a full block. */
	return block(static_cast<char>(0x80 + height));
}

std::string histogram_table(const SchedHistogram &histogram, const HistogramReading &reading,
			    const ViewStyle &style)
{
	const std::uint64_t count = reading.all.count();
	const std::uint64_t largest = largest_of(reading.all);
	const std::size_t count_width = std::max(fmt::formatted_size("{}", largest), kCountMin);
	const std::size_t before_bar =
		kLabelWidth + 2 + count_width + 2 + kShareWidth + std::string_view(" %  ").size();
	const std::size_t cells = style.width > before_bar + kBarMin ? style.width - before_bar :
								       kBarMin;

	std::string text =
		fmt::format("{}: {} in {} ms\n", histogram.title, count, reading.all.milliseconds);
	for (std::size_t bucket = 0; bucket < ZEM_SCHED_BUCKETS; bucket++) {
		const std::uint64_t here = reading.all.counts[bucket];
		const double share =
			count == 0 ? 0 :
				     100 * static_cast<double>(here) / static_cast<double>(count);
		fmt::format_to(std::back_inserter(text), "{:>{}}  {:>{}}  {:>{}.1f} %  {}",
			       bucket_label(reading.bounds, bucket, histogram.unit), kLabelWidth,
			       here, count_width, share, kShareWidth,
			       bar(here, largest, cells, style.bars));
		end_line(text);
	}
	return text;
}

std::string cpu_table(const SchedHistogram &histogram, const HistogramReading &reading,
		      const ViewStyle &style)
{
	const std::size_t cell = 2 + cell_width(reading) + 2;
	const std::size_t room = style.width > kLabelWidth ? style.width - kLabelWidth : 0;
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
