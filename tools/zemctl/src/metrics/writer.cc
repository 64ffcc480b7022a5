// SPDX-License-Identifier: GPL-2.0
/*
 * Writes metrics as text.
 */
#include "metrics/writer.h"

#include <iterator>

#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kMetricSecond = 1'000'000'000;

/* The escapes of label values and of HELP texts. */
void append_metric_text(std::string &out, std::string_view text)
{
	for (const char character : text) {
		if (character == '\n') {
			out += "\\n";
			continue;
		}
		if (character == '\\' || character == '"')
			out += '\\';
		out += character;
	}
}

/* Returns exact decimals: a sum of nanoseconds keeps all its digits. */
std::string seconds_text(std::uint64_t nanoseconds)
{
	std::string text = fmt::format("{}", nanoseconds / kMetricSecond);
	const std::uint64_t fraction = nanoseconds % kMetricSecond;
	if (fraction == 0)
		return text;
	fmt::format_to(std::back_inserter(text), ".{:09}", fraction);
	text.erase(text.find_last_not_of('0') + 1);
	return text;
}

/* A bound as clients of Prometheus write it: they compare the texts of bounds. */
std::string bound_text(std::uint32_t microseconds)
{
	return fmt::format("{}", static_cast<double>(microseconds) / 1e6);
}

} // namespace

std::string_view content_type(MetricDialect dialect)
{
	return dialect == MetricDialect::kOpenMetrics ?
		       "application/openmetrics-text; version=1.0.0; charset=utf-8" :
		       "text/plain; version=0.0.4; charset=utf-8";
}

Labels &Labels::add(std::string_view name, std::string_view value) &
{
	if (!text_.empty())
		text_ += ',';
	text_ += name;
	text_ += "=\"";
	append_metric_text(text_, escaped(value));
	text_ += '"';
	return *this;
}

void MetricWriter::begin(Metric metric)
{
	family_ = &family_of(metric);
	const bool is_open = dialect_ == MetricDialect::kOpenMetrics;
	/* The older format has the name of the samples, and no type for information. */
	std::string name(family_->name);
	std::string_view type = name_of(family_->type);
	if (!is_open && family_->type == MetricType::kCounter)
		name += "_total";
	if (!is_open && family_->type == MetricType::kInfo) {
		name += "_info";
		type = name_of(MetricType::kGauge);
	}
	auto out = std::back_inserter(text_);
	fmt::format_to(out, "# TYPE {} {}\n", name, type);
	if (is_open && family_->unit != MetricUnit::kNone)
		fmt::format_to(out, "# UNIT {} {}\n", name, name_of(family_->unit));
	fmt::format_to(out, "# HELP {} ", name);
	append_metric_text(text_, family_->help);
	text_ += '\n';
}

std::string MetricWriter::in_unit(std::uint64_t value) const
{
	return family_->unit == MetricUnit::kSeconds ? seconds_text(value) :
						       fmt::format("{}", value);
}

void MetricWriter::sample(std::string_view suffix, const Labels &labels, std::string_view value)
{
	text_ += family_->name;
	text_ += suffix;
	if (!labels.text().empty()) {
		text_ += '{';
		text_ += labels.text();
		text_ += '}';
	}
	text_ += ' ';
	text_ += value;
	if (time_) {
		text_ += ' ';
		text_ += seconds_text(*time_);
	}
	text_ += '\n';
}

/* In the older format these samples would be another family. */
void MetricWriter::created(const Labels &labels, std::uint64_t time)
{
	if (dialect_ == MetricDialect::kOpenMetrics)
		sample("_created", labels, seconds_text(time));
}

void MetricWriter::counter(const Labels &labels, std::uint64_t value,
			   std::optional<std::uint64_t> since)
{
	sample("_total", labels, in_unit(value));
	if (since)
		created(labels, *since);
}

void MetricWriter::gauge(const Labels &labels, std::uint64_t value)
{
	sample("", labels, in_unit(value));
}

void MetricWriter::gauge(const Labels &labels, double value)
{
	sample("", labels, fmt::format("{}", value));
}

void MetricWriter::bucket(const Labels &labels, std::string_view bound, std::uint64_t count)
{
	Labels all = labels;
	all.add("le", bound);
	sample("_bucket", all, fmt::format("{}", count));
}

void MetricWriter::histogram(const Labels &labels, const HistogramValues &values,
			     std::uint64_t since)
{
	std::uint64_t count = 0;
	for (std::size_t i = 0; i < values.counts.size(); i++) {
		count += values.counts[i];
		bucket(labels, i < values.bounds.size() ? bound_text(values.bounds[i]) : "+Inf",
		       count);
	}
	sample("_count", labels, fmt::format("{}", count));
	sample("_sum", labels, seconds_text(values.sum));
	created(labels, since);
}

void MetricWriter::info(const Labels &labels)
{
	sample("_info", labels, "1");
}

std::string MetricWriter::finish()
{
	if (dialect_ == MetricDialect::kOpenMetrics)
		text_ += "# EOF\n";
	return std::move(text_);
}

} // namespace zemctl
