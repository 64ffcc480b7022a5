// SPDX-License-Identifier: GPL-2.0
/*
 * Parsing of /proc/sched_metrics, in the kernel's exact layout and in damaged ones.
 */
#include "views/sched_views.h"

#include <gtest/gtest.h>

#include "failure_of.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

constexpr std::array kLabels = {100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000};
const CpuCounts kCounts = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {10, 0, 0, 0, 0, 0, 0, 0, 0, 1}};

std::string two_cpus()
{
	return counts_view("histogram irqtime total (us):\n", kLabels, kCounts);
}

std::string time_failure(std::string_view text)
{
	HistogramReading reading = parse_counts_view(two_cpus());
	return failure_of(parse_time_view, text, reading);
}

} // namespace

TEST(SchedViewsTest, counts_as_the_kernel_pads_them)
{
	const HistogramReading reading = parse_counts_view(two_cpus());
	EXPECT_EQ(reading.bounds,
		  (std::array<std::uint32_t, 9>{100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000}));
	ASSERT_EQ(reading.cpus.size(), 2u);
	EXPECT_EQ(reading.cpus[1].cpu, 1u);
	EXPECT_EQ(reading.cpus[0].totals.counts,
		  (std::array<std::uint64_t, 10>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
	EXPECT_EQ(reading.all.counts,
		  (std::array<std::uint64_t, 10>{11, 2, 3, 4, 5, 6, 7, 8, 9, 11}));
	EXPECT_EQ(reading.all.count(), 66u);
}

TEST(SchedViewsTest, counts_so_wide_that_no_padding_is_left)
{
	CpuCounts counts(12);
	for (auto &row : counts)
		row.fill(1'000'000'000'000'000'000ULL);
	const HistogramReading reading = parse_counts_view(counts_view("t\n", kLabels, counts));
	ASSERT_EQ(reading.cpus.size(), 12u);
	EXPECT_EQ(reading.cpus[11].cpu, 11u);
	EXPECT_EQ(reading.cpus[11].totals.counts[0], 1'000'000'000'000'000'000ULL);
	EXPECT_EQ(reading.all.counts[9], 12'000'000'000'000'000'000ULL);
}

TEST(SchedViewsTest, counts_that_are_cut_off_anywhere_are_refused)
{
	const std::string text = two_cpus();
	const std::size_t whole = text.find_last_not_of(" \n") + 1;
	for (std::size_t size = 0; size + 1 < whole; size++)
		EXPECT_NE(failure_of(parse_counts_view, std::string_view(text).substr(0, size)),
			  "none")
			<< size;
	EXPECT_EQ(failure_of(parse_counts_view, text.substr(0, whole)), "none");
}

TEST(SchedViewsTest, what_is_wrong_with_counts_is_said)
{
	EXPECT_EQ(failure_of(parse_counts_view, "Memory kcalloc failed\n"),
		  "not understood: \"Memory kcalloc failed\"");
	EXPECT_EQ(failure_of(parse_counts_view, ""), "not understood: \"\"");
	std::string text = two_cpus();
	text.replace(text.find("  2 "), 4, " -2 ");
	EXPECT_EQ(failure_of(parse_counts_view, text).find("not understood: \"    cpu 0:"), 0u)
		<< failure_of(parse_counts_view, text);
	text = two_cpus();
	text.replace(text.find(" 200 "), 5, " 99  ");
	EXPECT_EQ(failure_of(parse_counts_view, text).find("not understood: \"             "), 0u);
	text = two_cpus();
	text.replace(text.rfind(" 11 "), 4, " 12 ");
	EXPECT_EQ(failure_of(parse_counts_view, text), "the CPUs and their sum do not agree");
	text = two_cpus();
	text.erase(text.find("      cpu:"));
	EXPECT_EQ(failure_of(parse_counts_view, text), "the line of sums is missing");
}

TEST(SchedViewsTest, times_as_the_kernel_pads_them)
{
	const std::string text = time_view("svp_runtime_sum total (ms):\n", {1'999'999, 5'000'001});
	ASSERT_EQ(text, "svp_runtime_sum total (ms):\n"
			"            cpu0             cpu1             cpu\n"
			"               1                5               7\n");
	HistogramReading reading = parse_counts_view(two_cpus());
	parse_time_view(text, reading);
	EXPECT_EQ(reading.cpus[0].totals.milliseconds, 1u);
	EXPECT_EQ(reading.cpus[1].totals.milliseconds, 5u);
	EXPECT_EQ(reading.all.milliseconds, 7u) << "the kernel adds nanoseconds, not 1 and 5";
}

TEST(SchedViewsTest, times_of_interrupts_have_an_empty_line_at_the_end)
{
	const std::string text =
		time_view("all irqtime_sum total (ms):\n", {1'000'000, 0}, "%16llu\n\n");
	HistogramReading reading = parse_counts_view(two_cpus());
	parse_time_view(text, reading);
	EXPECT_EQ(reading.all.milliseconds, 1u);
}

TEST(SchedViewsTest, what_is_wrong_with_times_is_said)
{
	EXPECT_EQ(time_failure("Memory kcalloc failed\n"),
		  "not understood: \"Memory kcalloc failed\"");
	EXPECT_EQ(time_failure("title\n cpu0 cpu1 cpu\n"),
		  "expected a line of CPUs and a line of times");
	EXPECT_EQ(time_failure(time_view("title\n", {1, 2, 3})).find("not understood: "), 0u)
		<< "a CPU that the counts do not have";
	EXPECT_EQ(time_failure("title\n cpu0 cpu2 cpu\n 1 2 3\n"),
		  "not understood: \" cpu0 cpu2 cpu\"");
	EXPECT_EQ(time_failure("title\n cpu0 cpu1 cpu\n 1 x 3\n"), "not understood: \" 1 x 3\"");
}

TEST(SchedViewsTest, the_difference_of_two_readings)
{
	SchedReading earlier;
	earlier[2] = parse_counts_view(two_cpus());
	SchedReading later = earlier;
	later[2].all.counts[9] += 5;
	later[2].all.milliseconds += 7;
	later[2].cpus[1].totals.counts[9] += 5;
	const SchedReading between = difference(later, earlier);
	EXPECT_EQ(between[2].all.counts,
		  (std::array<std::uint64_t, 10>{0, 0, 0, 0, 0, 0, 0, 0, 0, 5}));
	EXPECT_EQ(between[2].all.milliseconds, 7u);
	EXPECT_EQ(between[2].cpus[0].totals.count(), 0u);
	EXPECT_EQ(between[2].cpus[1].totals.count(), 5u);
	EXPECT_THROW(difference(earlier, later), Failure);
	later[2].cpus.pop_back();
	EXPECT_THROW(difference(later, earlier), Failure);
}

} // namespace zemctl
