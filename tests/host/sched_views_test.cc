// SPDX-License-Identifier: GPL-2.0
/* /proc/sched_metrics: the files, their exact texts, pairs of reads, and failures. */
#include <cstring>
#include <memory>

#include "host/sched_views.h"

namespace test {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class SchedViews : public SchedTest {
protected:
	explicit SchedViews(const sim::Options &options = {.cpus = 2}) : SchedTest(options) {}

	[[nodiscard]] std::string read(const std::string &file)
	{
		return read_proc("sched_metrics/" + file);
	}

	[[nodiscard]] Numbers numbers()
	{
		Numbers all;
		for (const unsigned int cpu : possible_cpus())
			all.push_back({cpu, counters(cpu), time(cpu, Metric::kIrqtime)});
		return all;
	}

	/* Adds a different value to each count and each time. */
	void count(u64 factor)
	{
		for (const unsigned int cpu : possible_cpus()) {
			for (size_t bucket = 0; bucket < 10; bucket++)
				for (size_t metric = 0; metric < 4; metric++)
					counters(cpu).hist[bucket][metric] +=
						factor * (100 * cpu + 10 * bucket + metric + 1);
			for (size_t metric = 0; metric < 4; metric++)
				time(cpu, static_cast<Metric>(metric)) +=
					factor * (10 * cpu + metric + 1) * kMs + 999'999;
		}
	}

	/* Each interval view begins, counts, is shown completely, and is empty again. */
	void expect_pairs_of_reads()
	{
		count(7);
		const Numbers before = numbers();
		for (const SchedView &view : interval_views())
			EXPECT_EQ(read(view.name), "") << view.name;
		count(1);
		const Numbers now = numbers();
		for (const SchedView &view : kSchedViews)
			EXPECT_EQ(read(view.name), expected_text(view, now, before)) << view.name;
		for (const SchedView &view : interval_views())
			EXPECT_EQ(read(view.name), "") << view.name;
	}
};

class SchedViews12Cpus : public SchedViews {
protected:
	SchedViews12Cpus() : SchedViews({.cpus = 12}) {}
};

class SchedViews64Cpus : public SchedViews {
protected:
	SchedViews64Cpus() : SchedViews({.cpus = 64}) {}
};

/* Even the sums of two CPUs do not fit at first. */
class SchedViewsFromASmallBuffer : public SchedViews {
protected:
	SchedViewsFromASmallBuffer() : SchedViews({.cpus = 2, .first_seq_buffer = 64}) {}
};

class SchedViewsSparse : public SchedViews {
protected:
	SchedViewsSparse() : SchedViews({.cpus = 10, .absent_cpus = {1, 3, 4, 6, 7, 8}}) {}
};

TEST_F(SchedViews, files_stand_in_order_with_their_modes)
{
	std::vector<std::pair<std::string, unsigned int>> files = {{"sched_metrics_enabled", 0644}};
	for (const SchedView &view : kSchedViews)
		files.emplace_back(view.name, 0444);
	EXPECT_EQ(files.size(), 17U);
	EXPECT_THAT(kernel.proc.list("sched_metrics"), ElementsAreArray(files));
}

TEST_F(SchedViews, histogram_of_the_interrupts_letter_for_letter)
{
	counters(0).hist[0][0] = 12;
	counters(1).hist[0][0] = 30;
	counters(1).hist[9][0] = 1'234'567'890'123'456'789;
	EXPECT_EQ(read("sched_metrics_irqtime_total"),
		  "histogram irqtime total (us):\n"
		  "                      100             200             300             500"
		  "            1000            2000            4000            6000            8000"
		  "          others\n"
		  "\n"
		  "    cpu 0:             12               0               0               0"
		  "               0               0               0               0               0"
		  "               0 \n"
		  "    cpu 1:             30               0               0               0"
		  "               0               0               0               0               0"
		  " 1234567890123456789 \n"
		  "      cpu:             42               0               0               0"
		  "               0               0               0               0               0"
		  " 1234567890123456789 \n");
}

TEST_F(SchedViews, each_file_shows_its_own_metric_whole)
{
	expect_pairs_of_reads();
}

TEST_F(SchedViews, sum_just_below_a_millisecond_is_rounded_down)
{
	const Numbers before = numbers();
	for (const SchedView &view : interval_views())
		EXPECT_EQ(read(view.name), "") << view.name;
	for (size_t metric = 0; metric < 4; metric++)
		time(0, static_cast<Metric>(metric)) += 999'999;
	for (const SchedView &view : kSchedViews)
		EXPECT_EQ(read(view.name), expected_text(view, numbers(), before)) << view.name;
}

TEST_F(SchedViews12Cpus, all_cpus_have_a_row_and_no_interval_is_lost_when_the_text_grows)
{
	expect_pairs_of_reads();
	EXPECT_GT(kernel.proc.repeated_shows(), 0U);
}

TEST_F(SchedViews64Cpus, text_of_many_pages_loses_nothing)
{
	expect_pairs_of_reads();
	EXPECT_GT(read("sched_metrics_irqtime_total").size(), 2 * sim::kPageSize);
}

TEST_F(SchedViewsFromASmallBuffer, each_view_grows_its_text_and_loses_nothing)
{
	expect_pairs_of_reads();
	for (const SchedView &view : kSchedViews) {
		const unsigned int before = kernel.proc.repeated_shows();
		static_cast<void>(read(view.name));
		if (view.is_interval())
			static_cast<void>(read(view.name));
		EXPECT_GT(kernel.proc.repeated_shows(), before) << view.name;
	}
}

TEST_F(SchedViews, cpu_that_is_offline_keeps_its_row)
{
	kernel.cpus.set_online(1, false);
	expect_pairs_of_reads();
}

TEST_F(SchedViewsSparse, cpus_that_are_not_possible_have_no_row)
{
	ASSERT_THAT(possible_cpus(), ::testing::ElementsAre(0, 2, 5, 9));
	expect_pairs_of_reads();
}

TEST_F(SchedViews, hooks_reach_the_views)
{
	sim::Task *task = make_task(100, kSvpOnly);
	kernel.move_to_cpu(1);
	raise(Metric::kRuntime, task, 14'500'000);
	kernel.move_to_cpu(0);
	Numbers expected = {{0, {}, 0}, {1, {}, 0}};
	expected[1].counters.hist[4][1] = 1;
	expected[1].counters.runtime_sum = 14'500'000;
	for (const SchedView &view : total_views())
		EXPECT_EQ(read(view.name), expected_text(view, expected, {})) << view.name;
}

TEST_F(SchedViews, readers_share_the_pair)
{
	EXPECT_EQ(read("sched_metrics_svp_d_state_duration"), "");
	const Numbers before = numbers();
	count(2);
	const Numbers now = numbers();
	std::string text;
	kernel.spawn("other", [&] { text = read("sched_metrics_svp_d_state_duration"); }).join();
	EXPECT_EQ(text, expected_text(kSchedViews[13], now, before));
	EXPECT_EQ(read("sched_metrics_svp_d_state_duration"), "");
}

TEST_F(SchedViews, pairs_of_different_files_begin_apart)
{
	constexpr const SchedView &kHistogram = kSchedViews[9];
	constexpr const SchedView &kSum = kSchedViews[11];
	const Numbers first = numbers();
	EXPECT_EQ(read(kHistogram.name), "");
	count(1);
	const Numbers second = numbers();
	EXPECT_EQ(read(kSum.name), "");
	count(1);
	const Numbers third = numbers();
	EXPECT_EQ(read(kHistogram.name), expected_text(kHistogram, third, first));
	EXPECT_EQ(read(kSum.name), expected_text(kSum, third, second));
}

TEST_F(SchedViews, reading_a_view_takes_nothing_from_the_record)
{
	EXPECT_EQ(read("sched_metrics_irqtime"), "");
	counters(0).hist[3][0] = 6;
	EXPECT_NE(read("sched_metrics_irqtime"), "");
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	zem_sched payload{};
	memcpy(&payload, records().at(0).payload.data(), sizeof(payload));
	EXPECT_EQ(payload.irqtime.counts[3], 6U);
}

TEST_F(SchedViews, interval_counts_wrap_at_32_bits)
{
	EXPECT_EQ(read("sched_metrics_irqtime"), "");
	const Numbers before = numbers();
	counters(0).hist[2][0] = 0x1'0000'0003;
	counters(1).hist[2][0] = 0xffff'ffff;
	const std::string text = read("sched_metrics_irqtime");
	EXPECT_EQ(text, expected_text(kSchedViews[1], numbers(), before));
	EXPECT_NE(text.find("    cpu 0:              0               0               3 "),
		  std::string::npos);
	EXPECT_NE(text.find("      cpu:              0               0               2 "),
		  std::string::npos);
}

TEST_F(SchedViews, interval_times_wrap_at_32_bits_but_their_sum_does_not)
{
	EXPECT_EQ(read("sched_metrics_svp_runtime_sum"), "");
	counters(0).runtime_sum = 4'294'974'296 * kMs;
	EXPECT_EQ(read("sched_metrics_svp_runtime_sum"),
		  "svp_runtime_sum interval (ms):\n"
		  "            cpu0             cpu1             cpu\n"
		  "            7000                0       4294974296\n");
}

TEST_F(SchedViews, totals_do_not_wrap_at_32_bits)
{
	for (const unsigned int cpu : possible_cpus()) {
		for (auto &bucket : counters(cpu).hist)
			for (u64 &count : bucket)
				count = 1ULL << 60;
		for (size_t metric = 0; metric < 4; metric++)
			time(cpu, static_cast<Metric>(metric)) = 1ULL << 62;
	}
	const Numbers now = numbers();
	for (const SchedView &view : total_views())
		EXPECT_EQ(read(view.name), expected_text(view, now, {})) << view.name;
}

TEST_F(SchedViews, interval_view_without_memory_says_so_and_stays_closed)
{
	for (const SchedView &view : interval_views()) {
		SCOPED_TRACE(view.name);
		kernel.faults.fail("kzalloc");
		EXPECT_EQ(read(view.name), view.kind == ViewKind::kHistogramInterval ?
						   "Memory kzalloc failed\n" :
						   "Memory kcalloc failed\n");
		EXPECT_EQ(read(view.name), "");
		const Numbers before = numbers();
		count(1);
		EXPECT_EQ(read(view.name), expected_text(view, numbers(), before));
	}
}

TEST_F(SchedViews, open_interval_needs_no_more_memory)
{
	for (const SchedView &view : interval_views())
		EXPECT_EQ(read(view.name), "");
	const Numbers before = numbers();
	count(1);
	const Numbers now = numbers();
	kernel.faults.fail_from("kzalloc");
	for (const SchedView &view : interval_views())
		EXPECT_EQ(read(view.name), expected_text(view, now, before)) << view.name;
	EXPECT_EQ(read("sched_metrics_irqtime"), "Memory kzalloc failed\n");
}

TEST_F(SchedViews, total_of_the_interrupts_without_memory_says_so_and_the_others_need_none)
{
	count(1);
	const Numbers now = numbers();
	kernel.faults.fail_from("kzalloc");
	std::vector<SchedView> others = total_views();
	others.erase(others.begin());
	for (const SchedView &view : others)
		EXPECT_EQ(read(view.name), expected_text(view, now, {})) << view.name;
	EXPECT_EQ(read("sched_metrics_irqtime_total"), "Memory kcalloc failed\n");
	kernel.faults.clear();
	EXPECT_EQ(read("sched_metrics_irqtime_total"), expected_text(kSchedViews[0], now, {}));
}

TEST_F(SchedViews, second_reader_waits_for_the_first)
{
	const Numbers standing = numbers();
	for (const size_t number : {0, 1, 3, 5, 11}) {
		const SchedView &view = kSchedViews[number];
		SCOPED_TRACE(view.name);
		const std::string text = expected_text(view, standing, standing);
		std::string second = "not read";
		std::unique_ptr<sim::Thread> reader;
		kernel.faults.at("kzalloc", [&] {
			reader = std::make_unique<sim::Thread>(
				kernel.spawn("second", [&] { second = read(view.name); }));
			kernel.run_until_idle();
			EXPECT_FALSE(reader->ended());
		});
		EXPECT_EQ(read(view.name), view.is_interval() ? "" : text);
		reader->join();
		EXPECT_EQ(second, text);
	}
}

TEST_F(SchedViews, interval_left_open_is_freed_at_unload)
{
	const size_t before = kernel.slab.allocations();
	for (const SchedView &view : interval_views())
		EXPECT_EQ(read(view.name), "");
	EXPECT_EQ(kernel.slab.allocations(), before + 8U);
	unload();
	EXPECT_EQ(kernel.slab.allocations(), 0U);
}

} /* namespace test */
