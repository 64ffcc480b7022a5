// SPDX-License-Identifier: GPL-2.0
/*
 * The scheduler histograms as tables: labels, percentages, bars, widths.
 */
#include "views/histogram_view.h"

#include <gtest/gtest.h>

namespace zemctl {

namespace {

constexpr ViewStyle kAscii = {60, BarStyle::kAscii};

HistogramReading made_reading(const SchedHistogram &histogram,
			      const std::vector<std::array<std::uint64_t, 10>> &cpus)
{
	HistogramReading reading;
	reading.bounds = histogram.bounds;
	for (const auto &counts : cpus) {
		const auto cpu = static_cast<unsigned int>(reading.cpus.size());
		reading.cpus.push_back({cpu, {counts, 10 * (cpu + 1)}});
		reading.all.milliseconds += 10 * (cpu + 1);
		for (std::size_t i = 0; i < counts.size(); i++)
			reading.all.counts[i] += counts[i];
	}
	return reading;
}

std::size_t longest_line(const std::string &text)
{
	std::size_t longest = 0;
	for (std::size_t start = 0; start < text.size();) {
		const std::size_t end = text.find('\n', start);
		longest = std::max(longest, end - start);
		start = end + 1;
	}
	return longest;
}

} // namespace

TEST(HistogramViewTest, interrupts_in_microseconds_and_milliseconds)
{
	const SchedHistogram &histogram = kSchedHistograms[0];
	EXPECT_EQ(histogram_table(histogram,
				  made_reading(histogram, {{600, 300, 99, 0, 0, 0, 0, 0, 0, 1}}),
				  kAscii),
		  "hard interrupts: 1000 in 10 ms\n"
		  "   <100 us       600   60.0 %  #############################\n"
		  "   <200 us       300   30.0 %  ###############\n"
		  "   <300 us        99    9.9 %  #####\n"
		  "   <500 us         0    0.0 %\n"
		  "     <1 ms         0    0.0 %\n"
		  "     <2 ms         0    0.0 %\n"
		  "     <4 ms         0    0.0 %\n"
		  "     <6 ms         0    0.0 %\n"
		  "     <8 ms         0    0.0 %\n"
		  "    >=8 ms         1    0.1 %  #\n");
}

TEST(HistogramViewTest, waits_in_milliseconds)
{
	const SchedHistogram &histogram = kSchedHistograms[2];
	const std::string text = histogram_table(histogram, made_reading(histogram, {{}}), kAscii);
	EXPECT_EQ(text.substr(0, text.find("     <3 ms")),
		  "SVP tasks waiting for a CPU: 0 in 10 ms\n"
		  "   <0.5 ms         0    0.0 %\n"
		  "     <1 ms         0    0.0 %\n"
		  "     <2 ms         0    0.0 %\n");
}

TEST(HistogramViewTest, bars_of_blocks_show_eighths)
{
	EXPECT_EQ(bar(8, 8, 2, BarStyle::kBlocks), "██");
	EXPECT_EQ(bar(7, 16, 2, BarStyle::kBlocks), "▉");
	EXPECT_EQ(bar(1, 16, 2, BarStyle::kBlocks), "▏");
	EXPECT_EQ(bar(9, 16, 2, BarStyle::kBlocks), "█▏");
	EXPECT_EQ(bar(1, UINT64_MAX, 2, BarStyle::kBlocks), "▏") << "a small value has a bar";
	EXPECT_EQ(bar(UINT64_MAX, UINT64_MAX, 2, BarStyle::kBlocks), "██");
	EXPECT_EQ(bar(0, 0, 2, BarStyle::kBlocks), "");
}

TEST(HistogramViewTest, levels_rise_in_eighths)
{
	std::string blocks;
	std::string ascii;
	for (std::uint64_t value = 0; value <= 8; value++) {
		blocks += level(value, 8, BarStyle::kBlocks);
		ascii += level(value, 8, BarStyle::kAscii);
	}
	EXPECT_EQ(blocks, " ▁▂▃▄▅▆▇█");
	EXPECT_EQ(ascii, " .:-=+*#@");
	EXPECT_EQ(level(1, 1000, BarStyle::kBlocks), "▁");
}

TEST(HistogramViewTest, the_longest_bar_ends_at_the_terminals_edge)
{
	const SchedHistogram &histogram = kSchedHistograms[1];
	const auto reading = made_reading(histogram, {{123456789012, 1}});
	for (const std::size_t width : {50u, 80u, 200u})
		EXPECT_EQ(longest_line(
				  histogram_table(histogram, reading, {width, BarStyle::kAscii})),
			  width);
	EXPECT_GT(longest_line(histogram_table(histogram, reading, {1, BarStyle::kAscii})), 40u)
		<< "the lines are complete on a terminal that is too narrow";
}

TEST(HistogramViewTest, cpus_side_by_side)
{
	const SchedHistogram &histogram = kSchedHistograms[1];
	const auto reading = made_reading(histogram, {{8, 4, 1, 0, 0, 0, 0, 0, 0, 0},
						      {0, 0, 0, 0, 0, 0, 0, 0, 0, 12345}});
	EXPECT_EQ(cpu_table(histogram, reading, kAscii), "             cpu0     cpu1\n"
							 "     <2 ms      8 @      0\n"
							 "     <5 ms      4 =      0\n"
							 "     <8 ms      1 .      0\n"
							 "    <11 ms      0        0\n"
							 "    <15 ms      0        0\n"
							 "    <18 ms      0        0\n"
							 "    <22 ms      0        0\n"
							 "    <27 ms      0        0\n"
							 "    <32 ms      0        0\n"
							 "   >=32 ms      0    12345 @\n"
							 "time in ms     10       20\n");
}

TEST(HistogramViewTest, more_cpus_than_fit_go_on_below)
{
	const SchedHistogram &histogram = kSchedHistograms[1];
	const auto reading = made_reading(histogram, {{}, {}, {}, {}, {}});
	const std::string text = cpu_table(histogram, reading, {30, BarStyle::kAscii});
	EXPECT_LE(longest_line(text), 30u);
	std::size_t position = 0;
	for (const char *heading : {" cpu0    cpu1\n", " cpu2    cpu3\n", " cpu4\n"}) {
		position = text.find(heading, position);
		EXPECT_NE(position, std::string::npos) << heading << text;
	}
}

} // namespace zemctl
