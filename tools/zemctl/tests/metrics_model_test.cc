// SPDX-License-Identifier: GPL-2.0
/*
 * How records become metrics: sums, gaps, bounds of the number of series, and captures.
 */
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "metrics/capture_metrics.h"
#include "metrics_fixture.h"
#include "module_files.h"

namespace zemctl {

namespace {

class MetricsModelTest : public testing::Test {
protected:
	void add(const ByteVector &record) { model_.add(as_record(record)); }
	template <typename Payload>
	void add(std::uint8_t channel, const Payload &payload, std::uint64_t time = kMetricsStart)
	{
		add(record_with(channel, payload, time));
	}
	std::map<std::string, std::string> samples() const
	{
		return samples_of(metrics_text(model_));
	}

	MetricsModel model_{kMetricsStart};
};

zem_kio kio_of_user(std::uint32_t uid, std::uint64_t total, std::uint64_t increase)
{
	zem_kio kio = {};
	kio.io_top[0].uid = uid;
	kio.io_top[0].value.brb = total;
	kio.io_top[0].delta.brb = increase;
	kio.io_top[0].delta_total = increase;
	return kio;
}

/* Returns what the strict parser reports about @text, or "" for a valid text. */
std::string findings_on(const std::string &text)
{
	const ModuleFiles files;
	files.put("metrics", text);
	const std::string at = files.root.string();
	const int status = std::system(
		(ZEMCTL_METRICS_CHECK " " + at + "/metrics >" + at + "/out 2>&1").c_str());
	return status == 0 ? "" : files.get("out");
}

/* A payload of bytes that are all different, without numbers beyond 2^63. */
template <typename Payload>
Payload varied()
{
	Payload payload;
	std::uint8_t bytes[sizeof(payload)];
	for (std::size_t i = 0; i < sizeof(bytes); i++)
		bytes[i] = static_cast<std::uint8_t>(i % 8 < 3 ? i : 0);
	std::memcpy(&payload, bytes, sizeof(payload));
	return payload;
}

} // namespace

TEST_F(MetricsModelTest, every_family_is_written_once_and_the_text_is_strictly_valid)
{
	add(ZEM_CHANNEL_CPU, zem_cpu{.cpu = 1, .reserved = 0, .cycles = 9, .usage = 45411});
	add(ZEM_CHANNEL_LOAD, made_load("a \"quoted\\\" \xff\n", 5, "b"));
	add(ZEM_CHANNEL_SCHED, varied<zem_sched>());
	add(ZEM_CHANNEL_SVP, varied<zem_svp>());
	add(ZEM_CHANNEL_KIO, varied<zem_kio>());
	add(ZEM_CHANNEL_KZEROD, varied<zem_kzerod>());
	add(ZEM_CHANNEL_CGROUP, varied<zem_cgroup>());
	add(ZEM_CHANNEL_USB, varied<zem_usb>());
	model_.set_module_counters({.known = 0x1ff, .values = {1, 2, 3, 4, 5, 6, 7, 8, 9}});
	const std::string text = metrics_text(model_);
	EXPECT_EQ(findings_on(text), "");
	for (const MetricFamily &family : metric_families()) {
		const std::string type =
			fmt::format("# TYPE {} {}\n", family.name, name_of(family.type));
		const std::size_t first = text.find(type);
		EXPECT_EQ(first == std::string::npos, family.source == "server") << type;
		if (first != std::string::npos) {
			EXPECT_EQ(text.find(type, first + 1), std::string::npos) << type;
		}
	}
}

TEST_F(MetricsModelTest, a_text_that_is_not_valid_is_found)
{
	std::string text = metrics_text(model_);
	EXPECT_EQ(findings_on(text), "");
	EXPECT_NE(findings_on(text + "x"), "");
	text.replace(text.find("zem_gaps_total 0"), 16, "zem_gaps 0");
	EXPECT_NE(findings_on(text), "");
}

TEST_F(MetricsModelTest, records_and_bytes_are_counted_by_channel)
{
	add(made_record(ZEM_CHANNEL_TEST, "hello", kMetricsStart + kNsPerSecond));
	add(made_record(ZEM_CHANNEL_TEST, "", kMetricsStart));
	add(made_record(ZEM_CHANNEL_SCHED, "short"));
	const auto values = samples();
	EXPECT_EQ(values.at("zem_records_total{channel=\"test\"}"), "2");
	EXPECT_EQ(values.at("zem_record_bytes_total{channel=\"test\"}"), "69");
	EXPECT_EQ(values.at("zem_last_record_timestamp_seconds{channel=\"test\"}"), "1700000001");
	EXPECT_EQ(values.at("zem_undecoded_records_total{channel=\"sched\"}"), "1");
	EXPECT_EQ(values.at("zem_records_total{channel=\"wifi\"}"), "0");
	EXPECT_EQ(values.count("zem_last_record_timestamp_seconds{channel=\"wifi\"}"), 0u);
}

TEST_F(MetricsModelTest, differences_become_sums_that_start_with_the_model)
{
	zem_sched sched = {};
	sched.irqtime.counts[0] = 3;
	sched.irqtime.counts[9] = 1;
	sched.irqtime.cpu_time[7] = 1000;
	sched.irqtime.total_time = 2000;
	add(ZEM_CHANNEL_SCHED, sched);
	add(ZEM_CHANNEL_SCHED, sched);
	const auto values = samples();
	EXPECT_EQ(values.at("zem_irq_seconds_bucket{le=\"0.0001\"}"), "6");
	EXPECT_EQ(values.at("zem_irq_seconds_bucket{le=\"0.008\"}"), "6");
	EXPECT_EQ(values.at("zem_irq_seconds_bucket{le=\"+Inf\"}"), "8");
	EXPECT_EQ(values.at("zem_irq_seconds_count"), "8");
	EXPECT_EQ(values.at("zem_irq_seconds_sum"), "0.004096");
	EXPECT_EQ(values.at("zem_irq_seconds_created"), "1700000000");
	EXPECT_EQ(values.at("zem_irq_cpu_seconds_total{cpu=\"7\"}"), "0.002048");
}

TEST_F(MetricsModelTest, a_gap_is_counted_and_the_counters_go_on)
{
	add(ZEM_CHANNEL_LOAD, made_load("app", kNsPerSecond));
	model_.add_gaps(1, 500);
	model_.add_missing({.kernel = 7, .recorder = 8, .capture = 9});
	add(ZEM_CHANNEL_LOAD, made_load("app", kNsPerSecond));
	const auto values = samples();
	EXPECT_EQ(values.at("zem_load_runtime_seconds_total"), "2");
	EXPECT_EQ(values.at("zem_load_runtime_seconds_created"), "1700000000");
	EXPECT_EQ(values.at("zem_gaps_total"), "1");
	EXPECT_EQ(values.at("zem_lost_bytes_total"), "500");
	EXPECT_EQ(values.at("zem_missing_records_total{cause=\"kernel\"}"), "7");
	EXPECT_EQ(values.at("zem_missing_records_total{cause=\"recorder\"}"), "8");
	EXPECT_EQ(values.at("zem_missing_records_total{cause=\"capture\"}"), "9");
}

TEST_F(MetricsModelTest, a_difference_of_sums_that_were_reset_is_skipped_and_counted)
{
	zem_cgroup groups = {};
	groups.entries[0].lat = kNsPerSecond;
	add(ZEM_CHANNEL_CGROUP, groups);
	groups.entries[0].lat = static_cast<std::uint64_t>(-5);
	groups.entries[6].d_io = kNsPerSecond / 2;
	add(ZEM_CHANNEL_CGROUP, groups);
	const auto values = samples();
	EXPECT_EQ(values.at("zem_cgroup_run_delay_seconds_total{group=\"all\"}"), "1");
	EXPECT_EQ(values.at("zem_cgroup_blocked_seconds_total{group=\"svp\",kind=\"io\"}"), "0.5");
	EXPECT_EQ(values.at("zem_skipped_values_total"), "1");
}

TEST_F(MetricsModelTest, tasks_of_one_name_share_a_series_and_sums_stay_right)
{
	const std::size_t names = LoadSums::kProcesses + 30;
	for (std::size_t round = 0; round < 3; round++) {
		for (std::size_t i = 0; i < names; i++)
			add(ZEM_CHANNEL_LOAD, made_load(fmt::format("task{}", i), kNsPerSecond),
			    kMetricsStart + round);
	}
	const auto values = samples();
	EXPECT_EQ(values.at("zem_process_runtime_seconds_total{comm=\"task0\",package=\"\"}"), "3");
	EXPECT_EQ(values.at("zem_process_runtime_seconds_total{comm=\"other\",package=\"\"}"),
		  "90");
	EXPECT_EQ(sum_of(values, "zem_process_runtime_seconds_total"), 3.0 * names);
	EXPECT_EQ(values.at("zem_load_runtime_seconds_total"), "240");
}

TEST_F(MetricsModelTest, a_task_named_as_the_shared_series_adds_to_it)
{
	add(ZEM_CHANNEL_LOAD, made_load("other", kNsPerSecond));
	EXPECT_EQ(samples().at("zem_process_runtime_seconds_total{comm=\"other\",package=\"\"}"),
		  "1");
}

TEST_F(MetricsModelTest, a_heavier_task_gets_the_series_of_one_that_became_idle)
{
	for (std::size_t i = 0; i < LoadSums::kProcesses; i++)
		add(ZEM_CHANNEL_LOAD,
		    made_load(fmt::format("task{}", i), i == 7 ? kNsPerSecond : 9 * kNsPerSecond));
	add(ZEM_CHANNEL_LOAD, made_load("light", kNsPerSecond / 2));
	const std::string light = "zem_process_runtime_seconds_total{comm=\"light\",package=\"\"}";
	const std::string seventh =
		"zem_process_runtime_seconds_total{comm=\"task7\",package=\"\"}";
	EXPECT_EQ(samples().count(light), 0u);

	const std::uint64_t later = kMetricsStart + 120 * kNsPerSecond;
	add(ZEM_CHANNEL_LOAD, made_load("light", kNsPerSecond / 2), later);
	const auto values = samples();
	EXPECT_EQ(values.at(light), "0.5");
	EXPECT_EQ(values.at("zem_process_runtime_seconds_created{comm=\"light\",package=\"\"}"),
		  "1700000120");
	EXPECT_EQ(values.count(seventh), 0u);
	EXPECT_EQ(values.at("zem_process_runtime_seconds_total{comm=\"other\",package=\"\"}"),
		  "0.5")
		<< "the rate of other has no jump";
}

TEST_F(MetricsModelTest, the_usage_is_that_of_the_latest_interval)
{
	zem_load load = made_load("app", 0);
	load.usage = ZEM_CAPACITY_FULL;
	add(ZEM_CHANNEL_LOAD, load);
	load.usage = ZEM_CAPACITY_FULL / 3;
	add(ZEM_CHANNEL_LOAD, load, kMetricsStart + 5 * kNsPerSecond);
	add(ZEM_CHANNEL_LOAD, load, kMetricsStart + 5 * kNsPerSecond + 1000);
	const double usage =
		std::stod(samples().at("zem_process_usage_ratio{comm=\"app\",package=\"\"}"));
	EXPECT_NEAR(usage, 2.0 / 3, 1e-9);
}

TEST_F(MetricsModelTest, a_record_of_an_earlier_time_begins_an_interval)
{
	zem_load load = made_load("app", 0);
	load.usage = ZEM_CAPACITY_FULL / 2;
	add(ZEM_CHANNEL_LOAD, load, kMetricsStart + 1000);
	add(ZEM_CHANNEL_LOAD, load, kMetricsStart);
	add(ZEM_CHANNEL_LOAD, load, kMetricsStart + 500);
	const double usage =
		std::stod(samples().at("zem_process_usage_ratio{comm=\"app\",package=\"\"}"));
	EXPECT_NEAR(usage, 1.0, 1e-4);
}

TEST_F(MetricsModelTest, the_number_of_series_has_a_bound)
{
	for (std::uint32_t i = 0; i < 20'000; i++) {
		zem_svp svp = {};
		set_field(svp.thread_name, fmt::format("thread{}", i));
		svp.stats.runtime_total = i;
		add(ZEM_CHANNEL_SVP, svp, kMetricsStart + i * kNsPerSecond);
		zem_load load = made_load(fmt::format("task{}", i), i);
		load.usage = 1;
		add(ZEM_CHANNEL_LOAD, load);
		add(ZEM_CHANNEL_KIO, kio_of_user(i, i, i), kMetricsStart + i * kNsPerSecond);
	}
	const std::string text = metrics_text(model_);
	EXPECT_LT(samples_of(text).size(), 4000u);
	EXPECT_LT(text.size(), 500'000u);
	EXPECT_EQ(findings_on(text), "");
}

TEST_F(MetricsModelTest, the_totals_of_a_user_show_what_records_without_it_added)
{
	add(ZEM_CHANNEL_KIO, kio_of_user(10123, 1'000'000, 4096));
	add(ZEM_CHANNEL_KIO, kio_of_user(10123, 1'010'000, 2000));
	const std::string series =
		"zem_uid_io_bytes_total{uid=\"10123\",direction=\"read\",state=\"background\"}";
	EXPECT_EQ(samples().at(series), "14096");
	/* An entry that keeps the content of an earlier collection adds nothing. */
	add(ZEM_CHANNEL_KIO, kio_of_user(10123, 1'010'000, 2000));
	EXPECT_EQ(samples().at(series), "14096");
	/* The user was forgotten in between. */
	add(ZEM_CHANNEL_KIO, kio_of_user(10123, 500, 400));
	EXPECT_EQ(samples().at(series), "14496");
}

TEST_F(MetricsModelTest, the_two_lists_of_users_do_not_count_a_wait_twice)
{
	zem_kio kio = {};
	kio.iowait_top[0] = {.uid = 5, .reserved = 0, .iowait = 70, .delta_iowait = 30};
	kio.iowait_top[1] = {.uid = 6, .reserved = 0, .iowait = 60, .delta_iowait = 20};
	add(ZEM_CHANNEL_KIO, kio);
	kio.iowait_top[0].iowait = 100;
	kio.io_top[0].uid = 5;
	kio.io_top[0].value.iowait = 100;
	kio.io_top[0].delta.iowait = 30;
	kio.io_top[0].value.frb = 1'000'000;
	kio.io_top[0].delta.frb = 1;
	kio.io_top[0].delta_total = 1;
	add(ZEM_CHANNEL_KIO, kio);
	const auto values = samples();
	EXPECT_EQ(values.at("zem_uid_io_wait_seconds_total{uid=\"5\"}"), "0.00000006");
	EXPECT_EQ(values.at("zem_uid_io_wait_seconds_total{uid=\"6\"}"), "0.00000002");
	EXPECT_EQ(values.at("zem_uid_io_bytes_total{uid=\"5\",direction=\"read\",state="
			    "\"foreground\"}"),
		  "1");
}

TEST_F(MetricsModelTest, running_totals_are_those_of_the_latest_record)
{
	zem_kio kio = {};
	kio.devices[1].disk.rd_sectors = 8;
	kio.devices[1].disk.io_ticks = 1500;
	add(ZEM_CHANNEL_KIO, kio);
	add(ZEM_CHANNEL_KIO, kio);
	add(ZEM_CHANNEL_CPU, zem_cpu{.cpu = 2, .reserved = 0, .cycles = 10, .usage = 0});
	add(ZEM_CHANNEL_CPU, zem_cpu{.cpu = 2, .reserved = 0, .cycles = 30, .usage = 0});
	add(ZEM_CHANNEL_KZEROD, zem_kzerod{-1, 2, 3, 4, 5});
	const auto values = samples();
	EXPECT_EQ(values.at("zem_disk_bytes_total{device=\"/dev/block/sde\",direction=\"read\"}"),
		  "4096");
	EXPECT_EQ(values.at("zem_disk_busy_seconds_total{device=\"/dev/block/sde\"}"), "1.5");
	EXPECT_EQ(values.at("zem_cpu_cycles_total{cpu=\"2\"}"), "30");
	EXPECT_EQ(values.at("zem_zero_pages_total{event=\"alloc_prezero\"}"), "2");
	EXPECT_EQ(values.count("zem_zero_pages_total{event=\"alloc_failed\"}"), 0u)
		<< "a counter is not negative";
}

TEST_F(MetricsModelTest, usb_events_of_unknown_kinds_are_others)
{
	zem_usb usb = {};
	usb.event = ZEM_USB_DISCONNECT;
	add(ZEM_CHANNEL_USB, usb);
	usb.event = 77;
	add(ZEM_CHANNEL_USB, usb);
	const auto values = samples();
	EXPECT_EQ(values.at("zem_usb_events_total{event=\"disconnect\"}"), "1");
	EXPECT_EQ(values.at("zem_usb_events_total{event=\"other\"}"), "1");
}

TEST(CaptureMetricsTest, a_capture_has_metrics_with_the_time_of_its_last_record)
{
	CaptureInMemory capture;
	capture.writer.write(as_record(record_with(ZEM_CHANNEL_LOAD, made_load("app", kNsPerSecond),
						   kMetricsStart + 5 * kNsPerSecond)));
	capture.writer.write(as_record(
		record_with(ZEM_CHANNEL_LOAD, made_load("app", kNsPerSecond), kMetricsStart)));
	capture.writer.note_losses({.gaps = 2,
				    .lost_bytes = 9,
				    .dropped_records = 3,
				    .dropped_bytes = 1,
				    .kernel_lost = 4});
	capture.writer.end_block();
	const TemporaryFile file(capture.content());
	CaptureReader reader(file.fd(), "some.zem");
	const std::string text = openmetrics_of(reader);
	EXPECT_EQ(findings_on(text), "");
	const auto values = samples_of(text);
	const std::string time = values.at("zem_gaps_total").substr(2);
	EXPECT_EQ(values.at("zem_load_runtime_seconds_total"), "2 " + time);
	EXPECT_EQ(values.at("zem_lost_bytes_total"), "9 " + time);
	EXPECT_EQ(values.at("zem_missing_records_total{cause=\"kernel\"}"), "4 " + time);
	EXPECT_EQ(values.at("zem_missing_records_total{cause=\"recorder\"}"), "3 " + time);
	EXPECT_EQ(values.at("zem_load_runtime_seconds_created"), "1700000005 " + time);
}

TEST(CaptureMetricsTest, the_losses_of_a_capture_are_those_of_its_last_mark)
{
	CaptureInMemory capture;
	capture.writer.note_losses({.gaps = 1, .lost_bytes = 9, .dropped_records = 3});
	capture.writer.note_losses({.gaps = 3, .lost_bytes = 20, .dropped_records = 5});
	capture.writer.finish();
	const TemporaryFile file(capture.content());
	CaptureReader reader(file.fd(), "some.zem");
	const auto values = samples_of(openmetrics_of(reader));
	const auto value = [&values](const std::string &name) {
		return values.at(name).substr(0, values.at(name).find(' '));
	};
	EXPECT_EQ(value("zem_gaps_total"), "3");
	EXPECT_EQ(value("zem_lost_bytes_total"), "20");
	EXPECT_EQ(value("zem_missing_records_total{cause=\"recorder\"}"), "5");
}

TEST(CaptureMetricsTest, the_time_is_the_latest_in_the_capture_even_if_it_is_not_the_last)
{
	CaptureInMemory capture;
	for (const std::uint64_t seconds : {5, 7, 6})
		capture.writer.write(
			as_record(record_with(ZEM_CHANNEL_LOAD, made_load("app", kNsPerSecond),
					      kMetricsStart + seconds * kNsPerSecond)));
	capture.writer.end_block();
	const TemporaryFile file(capture.content());
	CaptureReader reader(file.fd(), "some.zem");
	EXPECT_EQ(samples_of(openmetrics_of(reader)).at("zem_load_runtime_seconds_total"),
		  "3 1700000007");
}

} // namespace zemctl
