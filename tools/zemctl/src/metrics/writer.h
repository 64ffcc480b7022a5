/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes metrics as text: OpenMetrics 1.0, or the older text format of Prometheus, which readers of
 * text files expect.
 */
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "metrics/table.h"

namespace zemctl {

enum class MetricDialect { kOpenMetrics, kPrometheus };

/* Returns the media type for HTTP. */
std::string_view content_type(MetricDialect dialect);

/* The labels of a series in the form of the text. */
class Labels {
public:
	Labels() = default;

	/* @value may consist of any bytes: those that are not printable become \xNN. */
	Labels &add(std::string_view name, std::string_view value) &;
	Labels &&add(std::string_view name, std::string_view value) &&
	{
		return std::move(add(name, value));
	}
	template <std::integral Number>
	Labels &&add(std::string_view name, Number value) &&
	{
		return std::move(add(name, fmt::format("{}", value)));
	}

	const std::string &text() const { return text_; }
	auto operator<=>(const Labels &) const = default;

private:
	std::string text_;
};

/* Counts of durations: @counts has one more element than @bounds. */
struct HistogramValues {
	std::span<const std::uint32_t> bounds; /* microseconds */
	std::span<const std::uint64_t> counts; /* by duration, not cumulative */
	std::uint64_t sum; /* ns */
};

class MetricWriter {
public:
	/* With @time, in ns since the epoch, each sample has this time. */
	explicit MetricWriter(MetricDialect dialect, std::optional<std::uint64_t> time = {})
		: dialect_(dialect), time_(time)
	{
	}

	/* Begins a family. Its series follow, each with other labels. */
	void begin(Metric metric);
	/*
	 * @value has the unit of the model. @created is the time when the counter was 0, in ns
	 * since the epoch, if it is known.
	 */
	void counter(const Labels &labels, std::uint64_t value,
		     std::optional<std::uint64_t> created = {});
	void gauge(const Labels &labels, std::uint64_t value);
	void gauge(const Labels &labels, double value);
	void histogram(const Labels &labels, const HistogramValues &values, std::uint64_t created);
	void info(const Labels &labels);

	/* Returns the text. Nothing may follow. */
	std::string finish();

private:
	void sample(std::string_view suffix, const Labels &labels, std::string_view value);
	void bucket(const Labels &labels, std::string_view bound, std::uint64_t count);
	void created(const Labels &labels, std::uint64_t time);
	std::string in_unit(std::uint64_t value) const;

	MetricDialect dialect_;
	std::optional<std::uint64_t> time_;
	const MetricFamily *family_ = nullptr;
	std::string text_;
};

} // namespace zemctl
