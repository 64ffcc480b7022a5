/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Records with payloads for the metrics, and the samples of a text.
 */
#pragma once

#include <map>
#include <sstream>
#include <string>

#include <linux/zem.h>

#include "decoder_fixture.h"
#include "made_records.h"
#include "metrics/model.h"

namespace zemctl {

inline constexpr std::uint64_t kNsPerSecond = 1'000'000'000;
inline constexpr std::uint64_t kMetricsStart = 1'700'000'000 * kNsPerSecond;

template <typename Payload>
ByteVector record_with(std::uint8_t channel, const Payload &payload,
		       std::uint64_t time = kMetricsStart)
{
	return made_record(channel, bytes_of(payload), time);
}

template <std::size_t size>
void set_field(char (&field)[size], std::string_view text)
{
	text.copy(field, size);
}

inline zem_load made_load(std::string_view comm, std::uint64_t runtime,
			  std::string_view package = {})
{
	zem_load load = {};
	set_field(load.comm, comm);
	set_field(load.pkg, package);
	load.runtime = runtime;
	return load;
}

inline std::string metrics_text(const MetricsModel &model,
				MetricDialect dialect = MetricDialect::kOpenMetrics)
{
	MetricWriter writer(dialect);
	model.write(writer);
	return writer.finish();
}

/* Returns the value of each series of an exposition, as text. */
inline std::map<std::string, std::string> samples_of(const std::string &text)
{
	std::map<std::string, std::string> samples;
	std::istringstream lines(text);
	for (std::string line; std::getline(lines, line);) {
		if (line.starts_with('#'))
			continue;
		const std::size_t labels = line.rfind('}');
		const std::size_t space = line.find(' ', labels == std::string::npos ? 0 : labels);
		const auto inserted =
			samples.emplace(line.substr(0, space), line.substr(space + 1));
		EXPECT_TRUE(inserted.second) << "twice: " << line;
	}
	return samples;
}

/* Returns the sum of a family over its series, in the unit of the text. */
inline double sum_of(const std::map<std::string, std::string> &samples, const std::string &name)
{
	double sum = 0;
	for (const auto &[series, value] : samples) {
		if (series == name || series.starts_with(name + "{"))
			sum += std::stod(value);
	}
	return sum;
}

} // namespace zemctl
