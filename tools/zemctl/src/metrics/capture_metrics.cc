// SPDX-License-Identifier: GPL-2.0
/*
 * The metrics of a capture.
 */
#include "metrics/capture_metrics.h"

#include <algorithm>
#include <optional>

#include "metrics/model.h"

namespace zemctl {

namespace {

std::optional<std::uint64_t> item_time(const CaptureItem &item)
{
	if (const Record *record = std::get_if<Record>(&item))
		return record->header.timestamp;
	if (const Mark *mark = std::get_if<Mark>(&item))
		return mark->time;
	return std::nullopt;
}

class CaptureSums {
public:
	explicit CaptureSums(std::uint64_t start) : model_(start) {}

	void add(const CaptureItem &item)
	{
		if (const Record *record = std::get_if<Record>(&item))
			model_.add(*record);
		else if (const Mark *mark = std::get_if<Mark>(&item))
			add(*mark);
		else
			add(std::get<Skip>(item));
	}

	const MetricsModel &model() const { return model_; }

private:
	void add(const Mark &mark)
	{
		if (mark.kind == MarkKind::kCounters)
			model_.set_module_counters(mark.as<ModuleCounters>());
		if (mark.kind != MarkKind::kGap && mark.kind != MarkKind::kEnd)
			return;
		const CaptureTotals growth = growth_of(mark.totals(), totals_);
		model_.add_gaps(growth.gaps, growth.lost_bytes);
		model_.add_missing(
			{.kernel = growth.kernel_lost, .recorder = growth.dropped_records});
		totals_ = mark.totals();
	}

	void add(const Skip &skip)
	{
		model_.add_gaps(1, 0);
		model_.add_missing({.capture = skip.records.value_or(0)});
	}

	MetricsModel model_;
	CaptureTotals totals_ = {};
};

} // namespace

std::string openmetrics_of(CaptureReader &reader)
{
	std::optional<CaptureSums> sums;
	std::uint64_t latest = 0;
	while (const auto item = reader.next()) {
		const auto time = item_time(*item);
		if (!sums)
			sums.emplace(time.value_or(0));
		latest = std::max(latest, time.value_or(0));
		sums->add(*item);
	}
	if (!sums)
		sums.emplace(0);
	MetricWriter writer(MetricDialect::kOpenMetrics, latest);
	sums->model().write(writer);
	return writer.finish();
}

} // namespace zemctl
