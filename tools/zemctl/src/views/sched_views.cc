// SPDX-License-Identifier: GPL-2.0
/*
 * Parses the "total" views of /proc/sched_metrics. Relies on the order of rows and columns, not on
 * titles and padding.
 */
#include "views/sched_views.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include <fmt/format.h>

#include "base/errors.h"
#include "views/view_file.h"
#include "text/words.h"

namespace zemctl {

namespace {

/* A line of a view: the label before its colon, if it has one, and the words after it. */
struct Line {
	std::string_view whole;
	std::string_view label;
	std::vector<std::string_view> words;
};

/* Returns the lines of @text without the title and empty lines. */
std::vector<Line> lines_of(std::string_view text)
{
	std::vector<Line> lines;
	for (bool title = true; !text.empty(); title = false) {
		const std::string_view whole = take_line(text);
		/* A wide count follows the colon without a blank. */
		const std::size_t colon = whole.find(':');
		const bool labelled = colon != std::string_view::npos;
		Line line = {whole, labelled ? trimmed(whole.substr(0, colon)) : std::string_view(),
			     words_of(labelled ? whole.substr(colon + 1) : whole)};
		if (!title && (labelled || !line.words.empty()))
			lines.push_back(std::move(line));
	}
	return lines;
}

/* Parses "cpu 3" and "cpu3". The views use both. */
std::optional<unsigned int> cpu_number(std::string_view label)
{
	if (!label.starts_with("cpu"))
		return std::nullopt;
	return parse_number<unsigned int>(trimmed(label.substr(3)));
}

std::array<std::uint64_t, ZEM_SCHED_BUCKETS> counts_of(const Line &line)
{
	std::array<std::uint64_t, ZEM_SCHED_BUCKETS> counts;
	if (line.words.size() != counts.size())
		not_understood(line.whole);
	std::ranges::transform(line.words, counts.begin(), [&](std::string_view word) {
		return number_of<std::uint64_t>(word, line.whole);
	});
	return counts;
}

std::array<std::uint32_t, kSchedBounds> bounds_of(const Line &line)
{
	std::array<std::uint32_t, kSchedBounds> bounds;
	if (!line.label.empty() || line.words.size() != kSchedBounds + 1)
		not_understood(line.whole);
	std::transform(line.words.begin(), line.words.end() - 1, bounds.begin(),
		       [&](std::string_view word) {
			       return number_of<std::uint32_t>(word, line.whole);
		       });
	if (!std::ranges::is_sorted(bounds))
		not_understood(line.whole);
	return bounds;
}

HistogramTotals minus(const HistogramTotals &later, const HistogramTotals &earlier)
{
	HistogramTotals result;
	bool backward = later.milliseconds < earlier.milliseconds;
	result.milliseconds = later.milliseconds - earlier.milliseconds;
	for (std::size_t i = 0; i < result.counts.size(); i++) {
		backward = backward || later.counts[i] < earlier.counts[i];
		result.counts[i] = later.counts[i] - earlier.counts[i];
	}
	if (backward)
		throw Failure("the counters decreased: was the module reloaded?");
	return result;
}

HistogramReading read_views(const std::string &directory, const SchedHistogram &histogram)
{
	const auto path = [&directory](std::string_view view) {
		return fmt::format("{}/{}", directory, view);
	};
	HistogramReading reading = parse_file(path(histogram.counts_view), parse_counts_view);
	parse_file(path(histogram.time_view),
		   [&reading](std::string_view text) { parse_time_view(text, reading); });
	/* The view of run times shows 14000 for its bound of 15 ms. */
	if (histogram.block == &zem_sched::svp_runtime)
		std::ranges::replace(reading.bounds, 14000U, 15000U);
	return reading;
}

} // namespace

std::uint64_t HistogramTotals::count() const
{
	return std::accumulate(counts.begin(), counts.end(), std::uint64_t{});
}

HistogramReading parse_counts_view(std::string_view text)
{
	const std::vector<Line> lines = lines_of(text);
	/* A failure in the kernel is reported by a text of one line. */
	if (lines.empty())
		not_understood(first_line(text));

	HistogramReading reading;
	reading.bounds = bounds_of(lines.front());
	std::array<std::uint64_t, ZEM_SCHED_BUCKETS> sums = {};
	for (std::size_t i = 1; i + 1 < lines.size(); i++) {
		const auto cpu = cpu_number(lines[i].label);
		if (!cpu)
			not_understood(lines[i].whole);
		reading.cpus.push_back({*cpu, {counts_of(lines[i]), 0}});
		for (std::size_t bucket = 0; bucket < sums.size(); bucket++)
			sums[bucket] += reading.cpus.back().totals.counts[bucket];
	}
	if (lines.size() < 2 || lines.back().label != "cpu")
		throw Failure("the line of sums is missing");
	reading.all.counts = counts_of(lines.back());
	if (reading.all.counts != sums)
		throw Failure("the CPUs and their sum do not agree");
	return reading;
}

void parse_time_view(std::string_view text, HistogramReading &reading)
{
	const std::vector<Line> lines = lines_of(text);
	if (lines.empty())
		not_understood(first_line(text));
	const std::size_t columns = reading.cpus.size() + 1;
	if (lines.size() != 2)
		throw Failure("expected a line of CPUs and a line of times");
	for (const Line &line : lines) {
		if (line.words.size() != columns)
			not_understood(line.whole);
	}
	for (std::size_t i = 0; i < reading.cpus.size(); i++) {
		if (cpu_number(lines[0].words[i]) != reading.cpus[i].cpu)
			not_understood(lines[0].whole);
		reading.cpus[i].totals.milliseconds =
			number_of<std::uint64_t>(lines[1].words[i], lines[1].whole);
	}
	reading.all.milliseconds = number_of<std::uint64_t>(lines[1].words.back(), lines[1].whole);
}

SchedReading read_sched_views(const std::string &directory)
{
	SchedReading result;
	for (std::size_t i = 0; i < result.size(); i++)
		result[i] = read_views(directory, kSchedHistograms[i]);
	return result;
}

SchedReading difference(const SchedReading &later, const SchedReading &earlier)
{
	SchedReading result = later;
	for (std::size_t i = 0; i < result.size(); i++) {
		if (later[i].cpus.size() != earlier[i].cpus.size())
			throw Failure("the number of CPUs changed");
		result[i].all = minus(later[i].all, earlier[i].all);
		for (std::size_t cpu = 0; cpu < result[i].cpus.size(); cpu++)
			result[i].cpus[cpu].totals =
				minus(later[i].cpus[cpu].totals, earlier[i].cpus[cpu].totals);
	}
	return result;
}

} // namespace zemctl
