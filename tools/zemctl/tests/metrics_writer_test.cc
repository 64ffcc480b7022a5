// SPDX-License-Identifier: GPL-2.0
/*
 * The text of metrics in both formats, and the table of the metrics.
 */
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "metrics_fixture.h"

namespace zemctl {

TEST(MetricWriterTest, a_counter_has_its_suffix_its_unit_and_the_time_of_its_start)
{
	MetricWriter writer(MetricDialect::kOpenMetrics);
	writer.begin(Metric::kLoadRuntime);
	writer.counter({}, 1'500'000'001, 1'700'000'000'250'000'000);
	EXPECT_EQ(writer.finish(),
		  "# TYPE zem_load_runtime_seconds counter\n"
		  "# UNIT zem_load_runtime_seconds seconds\n"
		  "# HELP zem_load_runtime_seconds Time that the tasks of all load records ran.\n"
		  "zem_load_runtime_seconds_total 1.500000001\n"
		  "zem_load_runtime_seconds_created 1700000000.25\n"
		  "# EOF\n");
}

TEST(MetricWriterTest, the_older_format_names_the_samples_and_has_no_unit_start_or_end)
{
	MetricWriter writer(MetricDialect::kPrometheus);
	writer.begin(Metric::kLoadRuntime);
	writer.counter({}, 2 * kNsPerSecond, kMetricsStart);
	writer.begin(Metric::kBuild);
	writer.info(Labels().add("version", "1"));
	EXPECT_EQ(writer.finish(),
		  "# TYPE zem_load_runtime_seconds_total counter\n"
		  "# HELP zem_load_runtime_seconds_total Time that the tasks of all load records "
		  "ran.\n"
		  "zem_load_runtime_seconds_total 2\n"
		  "# TYPE zem_build_info gauge\n"
		  "# HELP zem_build_info The version of zemctl that keeps these metrics.\n"
		  "zem_build_info{version=\"1\"} 1\n");
}

TEST(MetricWriterTest, buckets_are_cumulative_and_end_with_infinity)
{
	constexpr std::uint32_t kBounds[] = {100, 2000, 200'000};
	constexpr std::uint64_t kCounts[] = {3, 0, 4, 5};
	MetricWriter writer(MetricDialect::kOpenMetrics);
	writer.begin(Metric::kIrq);
	writer.histogram(Labels().add("a", "b"), {kBounds, kCounts, 7 * kNsPerSecond / 2},
			 kMetricsStart);
	const std::string text = writer.finish();
	EXPECT_NE(text.find("zem_irq_seconds_bucket{a=\"b\",le=\"0.0001\"} 3\n"
			    "zem_irq_seconds_bucket{a=\"b\",le=\"0.002\"} 3\n"
			    "zem_irq_seconds_bucket{a=\"b\",le=\"0.2\"} 7\n"
			    "zem_irq_seconds_bucket{a=\"b\",le=\"+Inf\"} 12\n"
			    "zem_irq_seconds_count{a=\"b\"} 12\n"
			    "zem_irq_seconds_sum{a=\"b\"} 3.5\n"
			    "zem_irq_seconds_created{a=\"b\"} 1700000000\n"),
		  std::string::npos)
		<< text;
}

TEST(MetricWriterTest, label_values_of_any_bytes_are_escaped)
{
	const Labels labels = Labels().add("comm", "a\"b\\c\n\xff\xc3\xa9");
	EXPECT_EQ(labels.text(), "comm=\"a\\\"b\\\\c\\\\x0a\\\\xff\xc3\xa9\"");
}

TEST(MetricWriterTest, samples_have_the_time_that_was_given)
{
	MetricWriter writer(MetricDialect::kOpenMetrics, 1'234'500'000'000);
	writer.begin(Metric::kGaps);
	writer.counter({}, 2, kNsPerSecond);
	EXPECT_NE(writer.finish().find("zem_gaps_total 2 1234.5\nzem_gaps_created 1 1234.5\n"),
		  std::string::npos);
}

TEST(MetricWriterTest, each_format_has_its_media_type)
{
	EXPECT_EQ(content_type(MetricDialect::kOpenMetrics),
		  "application/openmetrics-text; version=1.0.0; charset=utf-8");
	EXPECT_EQ(content_type(MetricDialect::kPrometheus),
		  "text/plain; version=0.0.4; charset=utf-8");
}

TEST(MetricTableTest, names_follow_the_convention)
{
	std::set<std::string_view> names;
	for (const MetricFamily &family : metric_families()) {
		EXPECT_TRUE(names.insert(family.name).second) << family.name;
		EXPECT_TRUE(family.name.starts_with("zem_")) << family.name;
		EXPECT_EQ(family.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"),
			  std::string_view::npos)
			<< family.name;
		EXPECT_TRUE(family.name.ends_with(name_of(family.unit))) << family.name;
		EXPECT_FALSE(family.name.ends_with("_total")) << family.name;
		EXPECT_TRUE(family.help.ends_with('.')) << family.name;
		EXPECT_EQ(family.help.find_first_of("\"\\\n"), std::string_view::npos);
		if (family.type == MetricType::kHistogram) {
			EXPECT_EQ(family.unit, MetricUnit::kSeconds) << family.name;
		}
	}
}

TEST(MetricTableTest, the_page_of_the_metrics_has_the_table)
{
	std::ostringstream page;
	page << std::ifstream(ZEMCTL_DOCS "/metrics.md").rdbuf();
	EXPECT_NE(page.str().find("\n\n" + metrics_markdown() + "\n"), std::string::npos)
		<< "docs/metrics.md needs this table:\n"
		<< metrics_markdown();
}

TEST(MetricTableTest, the_dashboard_shows_samples_that_exist)
{
	std::set<std::string> samples;
	for (const MetricFamily &family : metric_families()) {
		const std::string name(family.name);
		switch (family.type) {
		case MetricType::kCounter:
			samples.insert(name + "_total");
			break;
		case MetricType::kGauge:
			samples.insert(name);
			break;
		case MetricType::kInfo:
			samples.insert(name + "_info");
			break;
		case MetricType::kHistogram:
			samples.insert({name + "_bucket", name + "_sum", name + "_count"});
			break;
		}
	}
	const nlohmann::json dashboard = nlohmann::json::parse(std::ifstream(ZEMCTL_DASHBOARD));
	std::size_t found = 0;
	for (const auto &panel : dashboard["panels"]) {
		for (const auto &target : panel["targets"]) {
			const std::string query = target["expr"];
			const std::regex name("zem_[a-z_]+");
			for (std::sregex_iterator i(query.begin(), query.end(), name), end;
			     i != end; ++i, found++)
				EXPECT_EQ(samples.count(i->str()), 1u) << i->str();
		}
	}
	EXPECT_GT(found, 15u);
}

} // namespace zemctl
