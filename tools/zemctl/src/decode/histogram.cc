// SPDX-License-Identifier: GPL-2.0
/*
 * Formats histograms of durations.
 */
#include "decode/histogram.h"

#include <iterator>

#include <fmt/format.h>

namespace zemctl {

namespace {

std::string format_bound(std::uint32_t microseconds, BoundUnit unit)
{
	if (microseconds < 1000 && unit == BoundUnit::kMicroseconds)
		return fmt::format("{} us", microseconds);
	return fmt::format("{:g} ms", microseconds / 1000.0);
}

} // namespace

std::string format_milliseconds(std::uint64_t nanoseconds)
{
	TextBuffer buffer;
	append_milliseconds(buffer, nanoseconds);
	return std::string(buffer.view());
}

void append_milliseconds(TextBuffer &out, std::uint64_t nanoseconds)
{
	out.number(nanoseconds / 1'000'000).put('.').number(nanoseconds / 1000 % 1000, 3, '0');
	out.put(" ms");
}

void sched_bounds_json(JsonWriter &json)
{
	json.begin_object("sched_bounds_us");
	for (const SchedHistogram &histogram : kSchedHistograms) {
		json.key(histogram.name);
		json.counts(histogram.bounds);
	}
	json.end_object();
}

std::string bucket_label(Bounds bounds, std::size_t bucket, BoundUnit unit)
{
	if (bucket < bounds.size())
		return '<' + format_bound(bounds[bucket], unit);
	return ">=" + format_bound(bounds.back(), unit);
}

std::string format_counts(Bounds bounds, std::span<const std::uint32_t> counts, BoundUnit unit)
{
	std::string result;
	for (std::size_t i = 0; i < counts.size(); i++)
		fmt::format_to(std::back_inserter(result), "{}{} {}", i == 0 ? "" : ", ",
			       bucket_label(bounds, i, unit), counts[i]);
	return result;
}

} // namespace zemctl
