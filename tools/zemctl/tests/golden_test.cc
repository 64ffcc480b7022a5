// SPDX-License-Identifier: GPL-2.0
/*
 * The texts and payloads of tests/golden, which the module's own tests prove: zemctl reads the same
 * numbers from a view as from the record, and the printers of the other tests keep the layouts.
 */
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "fake_kioind.h"
#include "fake_proc.h"
#include "views/health_views.h"
#include "views/io_views.h"
#include "views/sched_views.h"
#include "views/svp_listing.h"

namespace zemctl {

namespace {

std::string golden(const std::string &file)
{
	std::ifstream in(ZEMCTL_GOLDEN "/" + file, std::ios::binary);
	EXPECT_TRUE(in.is_open()) << file;
	return {std::istreambuf_iterator<char>(in), {}};
}

template <typename Payload>
Payload golden_payload(const std::string &file)
{
	std::string digits = golden(file);
	std::erase(digits, '\n');
	EXPECT_EQ(digits.size(), 2 * sizeof(Payload));
	unsigned char bytes[sizeof(Payload)] = {};
	for (std::size_t i = 0; i < std::min(sizeof(bytes), digits.size() / 2); i++)
		bytes[i] =
			static_cast<unsigned char>(std::stoi(digits.substr(2 * i, 2), nullptr, 16));
	Payload payload;
	std::memcpy(&payload, bytes, sizeof(payload));
	return payload;
}

template <typename Payload>
void expect_same(const Payload &left, const Payload &right)
{
	EXPECT_EQ(std::memcmp(&left, &right, sizeof(left)), 0);
}

std::string first_line(const std::string &text)
{
	return text.substr(0, text.find('\n') + 1);
}

CpuCounts counts_of(const HistogramReading &reading)
{
	CpuCounts counts;
	for (const CpuTotals &cpu : reading.cpus)
		std::ranges::copy(cpu.totals.counts, counts.emplace_back().begin());
	return counts;
}

/* Nanoseconds with the milliseconds of each CPU, and with those of the sum. */
std::vector<unsigned long long> times_of(const HistogramReading &reading)
{
	std::vector<unsigned long long> times;
	std::uint64_t rest = reading.all.milliseconds * 1'000'000;
	for (const CpuTotals &cpu : reading.cpus)
		rest -= cpu.totals.milliseconds * 1'000'000;
	for (const CpuTotals &cpu : reading.cpus) {
		const std::uint64_t more = std::min<std::uint64_t>(rest, 999'999);
		times.push_back(cpu.totals.milliseconds * 1'000'000 + more);
		rest -= more;
	}
	return times;
}

/* @units are of 1024 ns. Both are rounded down. */
void expect_same_time(std::uint64_t milliseconds, std::uint64_t units)
{
	EXPECT_LE(units * 1024 / 1'000'000, milliseconds);
	EXPECT_GE((units * 1024 + 1023) / 1'000'000, milliseconds);
}

} // namespace

TEST(GoldenTest, views_of_the_scheduler_have_the_numbers_of_the_record)
{
	const auto record = golden_payload<zem_sched>("sched/sched_record");
	const SchedReading views = read_sched_views(ZEMCTL_GOLDEN "/sched");
	for (std::size_t i = 0; i < views.size(); i++) {
		const zem_sched_block &block = record.*kSchedHistograms[i].block;
		EXPECT_TRUE(std::ranges::equal(views[i].all.counts, block.counts));
		expect_same_time(views[i].all.milliseconds, block.total_time);
		ASSERT_EQ(views[i].cpus.size(), std::size(block.cpu_time));
		for (std::size_t cpu = 0; cpu < views[i].cpus.size(); cpu++)
			expect_same_time(views[i].cpus[cpu].totals.milliseconds,
					 block.cpu_time[cpu]);
	}
}

TEST(GoldenTest, printers_keep_the_layout_of_the_scheduler_s_views)
{
	const SchedReading views = read_sched_views(ZEMCTL_GOLDEN "/sched");
	for (std::size_t i = 0; i < views.size(); i++) {
		const std::string directory = "sched/";
		const std::string counts =
			golden(directory + std::string(kSchedHistograms[i].counts_view));
		std::array<int, 9> labels;
		std::ranges::copy(views[i].bounds, labels.begin());
		/* The view's label of 15 ms. */
		if (kSchedHistograms[i].name == "svp_runtime")
			labels[4] = 14000;
		EXPECT_EQ(counts_view(first_line(counts).c_str(), labels, counts_of(views[i])),
			  counts);
		const std::string times =
			golden(directory + std::string(kSchedHistograms[i].time_view));
		EXPECT_EQ(time_view(first_line(times).c_str(), times_of(views[i]),
				    i == 0 ? "%16llu\n\n" : "%15llu\n"),
			  times);
	}
}

TEST(GoldenTest, text_of_an_svp_task_has_the_numbers_of_the_record)
{
	const auto record = golden_payload<zem_svp>("sched/svp_record");
	const std::string text = golden("sched/svp_metrics");
	const auto tasks = parse_svp_listing(text);
	ASSERT_EQ(tasks.size(), 1U);
	expect_same(tasks[0], record);
	EXPECT_EQ(svp_text(record), text);
}

TEST(GoldenTest, health_of_the_groups_is_that_of_the_record)
{
	const auto record = golden_payload<zem_cgroup>("health/cgroup_record");
	const std::string report = golden("health/sched_healthinfo");
	const std::string interval = golden("health/cgroup_metrics");
	expect_same(parse_health_sums(report), record);
	expect_same(parse_health_interval(interval), record);

	HealthSums sums;
	std::size_t next = 0;
	for (const auto &entry : record.entries)
		for (const auto time : {entry.lat, entry.d_io, entry.d_nonio})
			sums.at(next++) = time;
	EXPECT_EQ(health_interval(sums), interval);
	const std::string of_no_cpu = health_report({});
	const std::size_t head = of_no_cpu.size() - health_block({}).size();
	EXPECT_TRUE(report.ends_with(of_no_cpu.substr(0, head) + health_block(sums)));
}

TEST(GoldenTest, latencies_of_bios_are_those_of_the_record)
{
	const auto record = golden_payload<zem_kio>("kio/kio_record");
	const std::string text = golden("kio/show3_bio_time");
	IoReading reading = {};
	parse_bio_view(text, reading);
	expect_same(reading.kio, record);
	EXPECT_EQ(bio_view(record), text);
}

} // namespace zemctl
