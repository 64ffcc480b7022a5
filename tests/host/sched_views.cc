// SPDX-License-Identifier: GPL-2.0
/* Formats the texts of the views from numbers: right-aligned fields in columns. */
#include "host/sched_views.h"

#include <algorithm>
#include <iterator>

namespace test {

namespace {

[[nodiscard]] std::string right(const std::string &text, size_t width)
{
	return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

[[nodiscard]] std::string number(u64 value, size_t width)
{
	return right(std::to_string(value), width);
}

[[nodiscard]] u64 shown(u64 value, bool is_interval)
{
	return is_interval ? value & 0xffff'ffff : value;
}

[[nodiscard]] std::string histogram(const SchedView &view, const Numbers &now,
				    const Numbers &before)
{
	const auto column = static_cast<size_t>(view.metric);
	std::string text = view.title;
	for (size_t i = 0; i < view.labels.size(); i++)
		text += number(static_cast<u64>(view.labels[i]), i == 0 ? 25 : 15) + " ";
	text += right("others", 15) + "\n\n";

	u64 sums[10]{};
	for (size_t row = 0; row < now.size(); row++) {
		text += right("cpu", 7) + " " + std::to_string(now[row].cpu) + ":";
		for (size_t bucket = 0; bucket < 10; bucket++) {
			u64 count = now[row].counters.hist[bucket][column];
			if (view.is_interval())
				count -= before[row].counters.hist[bucket][column];
			sums[bucket] += count;
			text += number(shown(count, view.is_interval()), 15) + " ";
		}
		text += "\n";
	}
	text += right("cpu:", 10);
	for (const u64 sum : sums)
		text += number(shown(sum, view.is_interval()), 15) + " ";
	return text + "\n";
}

[[nodiscard]] std::string sum(const SchedView &view, const Numbers &now, const Numbers &before)
{
	std::string text = view.title;
	for (const CpuNumbers &row : now)
		text += right("cpu", 15) + std::to_string(row.cpu) + " ";
	text += right("cpu\n", 16);

	u64 total = 0;
	for (size_t row = 0; row < now.size(); row++) {
		u64 ns = now[row].time(view.metric);
		if (view.is_interval())
			ns -= before[row].time(view.metric);
		total += ns;
		text += number(shown(ns / kMs, view.is_interval()), 16) + " ";
	}
	if (view.is_interval())
		return text + number(total / kMs, 16) + "\n";
	if (view.metric == Metric::kIrqtime)
		return text + number(total / kMs, 16) + "\n\n";
	return text + number(total / kMs, 15) + "\n";
}

} /* namespace */

std::vector<SchedView> interval_views()
{
	std::vector<SchedView> views;
	std::ranges::copy_if(kSchedViews, std::back_inserter(views), &SchedView::is_interval);
	return views;
}

std::vector<SchedView> total_views()
{
	std::vector<SchedView> views;
	std::ranges::remove_copy_if(kSchedViews, std::back_inserter(views),
				    &SchedView::is_interval);
	return views;
}

u64 CpuNumbers::time(Metric metric) const
{
	CpuCounters copy = counters;
	const u64 *sum = copy.sum_of(metric);
	return sum ? *sum : irqtime;
}

std::string expected_text(const SchedView &view, const Numbers &now, const Numbers &before)
{
	const bool is_histogram = view.kind == ViewKind::kHistogramTotal ||
				  view.kind == ViewKind::kHistogramInterval;
	return is_histogram ? histogram(view, now, before) : sum(view, now, before);
}

} /* namespace test */
