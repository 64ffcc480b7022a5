// SPDX-License-Identifier: GPL-2.0
/* The record of the scheduler's histograms: its bytes, and the start of its interval. */
#include <cstring>
#include <functional>

#include "host/sched_fixture.h"

namespace test {

using ::testing::Each;
using ::testing::SizeIs;

namespace {

constexpr size_t kBlockWords = 19;
constexpr size_t kTotalTime = 18;

/* Index of the first word of each block. */
constexpr size_t kIrqtimeBlock = 192 / 4;
constexpr size_t kRuntimeBlock = 268 / 4;
constexpr size_t kRundelayBlock = 344 / 4;
constexpr size_t kDStateBlock = 420 / 4;

struct Block {
	Metric metric;
	size_t first;
};

constexpr Block kBlocks[] = {
	{Metric::kIrqtime, kIrqtimeBlock},
	{Metric::kRuntime, kRuntimeBlock},
	{Metric::kRundelay, kRundelayBlock},
	{Metric::kDState, kDStateBlock},
};

constexpr size_t time_of(size_t block, unsigned int cpu)
{
	return block + 10 + cpu;
}

} /* namespace */

using Words = std::array<uint32_t, 124>;

class SchedUpload : public SchedTest {
protected:
	using SchedTest::SchedTest;

	/* Triggers the next upload, and returns its payload. */
	[[nodiscard]] Words upload()
	{
		EXPECT_EQ(store("trigger", "1"), 1);
		kernel.run_until_idle();
		Words words{};
		size_t found = 0;
		for (const Record &record : records()) {
			if (record.header.channel != ZEM_CHANNEL_SCHED)
				continue;
			EXPECT_EQ(record.payload.size(), sizeof(words));
			memcpy(words.data(), record.payload.data(), sizeof(words));
			found++;
		}
		EXPECT_EQ(found, 1U);
		hand_back();
		return words;
	}

	/* Gives each count and each time of each CPU a different value. */
	void count_distinctly(u64 factor)
	{
		for (const unsigned int cpu : possible_cpus()) {
			for (size_t bucket = 0; bucket < 10; bucket++)
				for (size_t metric = 0; metric < 4; metric++)
					counters(cpu).hist[bucket][metric] +=
						factor * (1 + cpu * 1000 + bucket * 10 + metric);
			for (const Block &block : kBlocks)
				time(cpu, block.metric) +=
					distinct_time(cpu, block.metric) * factor;
		}
	}

	/* Not a multiple of the unit: eight remainders add one unit to the sum. */
	[[nodiscard]] static u64 distinct_time(unsigned int cpu, Metric metric)
	{
		return (1 + cpu * 10 + static_cast<u64>(metric)) * 1000 * 1024 + 200;
	}

	/* The payload for count_distinctly(1). */
	[[nodiscard]] Words distinct_words()
	{
		Words words{};
		for (const Block &block : kBlocks) {
			u64 total = 0;
			for (const unsigned int cpu : possible_cpus()) {
				for (size_t bucket = 0; bucket < 10; bucket++)
					words[block.first + bucket] +=
						1 + cpu * 1000 +
						static_cast<uint32_t>(bucket) * 10 +
						static_cast<uint32_t>(block.metric);
				const u64 ns = distinct_time(cpu, block.metric);
				if (cpu < 8)
					words[time_of(block.first, cpu)] =
						static_cast<uint32_t>(ns / 1024);
				total += ns;
			}
			words[block.first + kTotalTime] = static_cast<uint32_t>(total / 1024);
		}
		return words;
	}
};

class SchedUpload12Cpus : public SchedUpload {
protected:
	SchedUpload12Cpus() : SchedUpload({.cpus = 12}) {}
};

class SchedUploadSparse : public SchedUpload {
protected:
	SchedUploadSparse() : SchedUpload({.cpus = 10, .absent_cpus = {1, 3, 4, 6, 7, 8}}) {}
};

class SchedUploadAtLoad : public UnloadedTest {};

TEST_F(SchedUpload, payload_byte_for_byte)
{
	count_distinctly(1);
	const Words expected = distinct_words();
	EXPECT_EQ(expected[kIrqtimeBlock], 28008U);
	EXPECT_EQ(expected[kDStateBlock + 9], 28008U + 8 * 93);
	EXPECT_EQ(expected[kRundelayBlock + 10], 3000U);
	EXPECT_EQ(expected[kRuntimeBlock + kTotalTime], (8 * 2 + 280) * 1000 + 1U);
	EXPECT_EQ(store("trigger", "9"), 1);
	kernel.run_until_idle();
	const std::vector<Record> found = records();
	ASSERT_THAT(found, SizeIs(2));
	EXPECT_EQ(found[0].header.channel, 4);
	EXPECT_EQ(found[0].header.sub_type, 0);
	EXPECT_EQ(found[0].header.len, 496U);
	EXPECT_EQ(found[0].header.train_number, 9U);
	EXPECT_EQ(found[0].payload,
		  std::string(reinterpret_cast<const char *>(expected.data()), sizeof(expected)));
}

TEST_F(SchedUpload, hooks_arrive_in_their_blocks)
{
	sim::Task *task = make_task(100, kSvpOnly);
	kernel.move_to_cpu(5);
	raise(Metric::kIrqtime, nullptr, 99'999);
	raise(Metric::kRuntime, task, 32 * kMs);
	raise(Metric::kRundelay, task, 2 * kMs);
	raise(Metric::kDState, task, 43 * kMs);
	time(5, Metric::kIrqtime) = 99'999;
	kernel.move_to_cpu(0);
	Words expected{};
	expected[kIrqtimeBlock] = 1;
	expected[time_of(kIrqtimeBlock, 5)] = expected[kIrqtimeBlock + kTotalTime] = 97;
	expected[kRuntimeBlock + 9] = 1;
	expected[time_of(kRuntimeBlock, 5)] = expected[kRuntimeBlock + kTotalTime] = 31'250;
	expected[kRundelayBlock + 3] = 1;
	expected[time_of(kRundelayBlock, 5)] = expected[kRundelayBlock + kTotalTime] = 1'953;
	expected[kDStateBlock + 6] = 1;
	expected[time_of(kDStateBlock, 5)] = expected[kDStateBlock + kTotalTime] = 41'992;
	EXPECT_EQ(upload(), expected);
}

TEST_F(SchedUpload, two_uploads_without_activity_between_are_zeros)
{
	count_distinctly(3);
	static_cast<void>(upload());
	EXPECT_THAT(upload(), Each(0U));
	EXPECT_THAT(upload(), Each(0U));
}

TEST_F(SchedUpload, each_upload_is_the_increase_since_the_one_before)
{
	for (const uint32_t increase : {3U, 1U, 0U, 5U, 2U}) {
		counters(1).hist[4][static_cast<size_t>(Metric::kRuntime)] += increase;
		counters(1).runtime_sum += increase * 1024;
		Words expected{};
		expected[kRuntimeBlock + 4] = expected[time_of(kRuntimeBlock, 1)] =
			expected[kRuntimeBlock + kTotalTime] = increase;
		EXPECT_EQ(upload(), expected) << increase;
	}
}

TEST_F(SchedUpload, counts_wrap_at_32_bits)
{
	u64 &count = counters(2).hist[0][static_cast<size_t>(Metric::kIrqtime)];
	count = 0xffff'fffe;
	EXPECT_EQ(upload()[kIrqtimeBlock], 0xffff'fffeU);
	count += 5;
	EXPECT_EQ(upload()[kIrqtimeBlock], 5U);
	count += 0x1'0000'0007;
	EXPECT_EQ(upload()[kIrqtimeBlock], 7U);
}

TEST_F(SchedUpload, counts_of_all_cpus_are_added_before_they_wrap)
{
	for (const unsigned int cpu : possible_cpus())
		counters(cpu).hist[9][static_cast<size_t>(Metric::kDState)] = 0x4000'0001;
	EXPECT_EQ(upload()[kDStateBlock + 9], 8U);
}

TEST_F(SchedUpload, times_are_cut_to_whole_units_and_to_32_bits)
{
	u64 &sum = counters(0).d_state_sum;
	sum = 1023;
	EXPECT_EQ(upload()[time_of(kDStateBlock, 0)], 0U);
	sum += 1023;
	EXPECT_EQ(upload()[time_of(kDStateBlock, 0)], 0U) << "what was cut is not made up for";
	sum += 1024;
	EXPECT_EQ(upload()[time_of(kDStateBlock, 0)], 1U);
	sum += (1ULL << 42) + 2048;
	EXPECT_EQ(upload()[time_of(kDStateBlock, 0)], 2U);
	sum += 0xffff'ffffULL << 10;
	EXPECT_EQ(upload()[time_of(kDStateBlock, 0)], 0xffff'ffffU);
}

TEST_F(SchedUpload, time_of_all_cpus_is_cut_once)
{
	counters(0).rundelay_sum = counters(7).rundelay_sum = 512;
	const Words words = upload();
	EXPECT_EQ(words[time_of(kRundelayBlock, 0)], 0U);
	EXPECT_EQ(words[time_of(kRundelayBlock, 7)], 0U);
	EXPECT_EQ(words[kRundelayBlock + kTotalTime], 1U);
}

TEST_F(SchedUpload, collector_and_trigger_share_the_base)
{
	KmemProvider kmem(module);
	start_collector();
	counters(0).hist[1][static_cast<size_t>(Metric::kIrqtime)] = 4;
	run_cycles(1);
	kernel.run_until_idle();
	hand_back();
	counters(0).hist[1][static_cast<size_t>(Metric::kIrqtime)] += 2;
	EXPECT_EQ(upload()[kIrqtimeBlock + 1], 2U);
}

TEST_F(SchedUpload, refused_record_is_lost_and_its_interval_with_it)
{
	counters(0).runtime_sum = 4096;
	kernel.faults.fail("ring_buffer_lock_reserve");
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:528\n")}));
	kernel.run_until_idle();
	hand_back();
	EXPECT_THAT(upload(), Each(0U));
}

/* The switch affects only the handlers. */
TEST_F(SchedUpload, switched_off_the_record_has_the_interrupts_time_all_the_same)
{
	static_cast<void>(upload());
	EXPECT_EQ(write_proc("sched_metrics/sched_metrics_enabled", "0"), 1);
	time(3, Metric::kIrqtime) += 5 * 1024;
	kernel.hooks.irqtime_account_hardirq(1000);
	Words expected{};
	expected[time_of(kIrqtimeBlock, 3)] = expected[kIrqtimeBlock + kTotalTime] = 5;
	EXPECT_EQ(upload(), expected);
	EXPECT_THAT(upload(), Each(0U));
}

TEST_F(SchedUpload, cpu_that_is_offline_stays_in_the_record)
{
	static_cast<void>(upload());
	counters(6).runtime_sum += 7 * 1024;
	kernel.cpus.set_online(6, false);
	Words expected{};
	expected[time_of(kRuntimeBlock, 6)] = expected[kRuntimeBlock + kTotalTime] = 7;
	EXPECT_EQ(upload(), expected);
}

TEST_F(SchedUpload12Cpus, cpus_beyond_the_eighth_count_in_the_sums)
{
	count_distinctly(1);
	const Words expected = distinct_words();
	EXPECT_EQ(expected[kIrqtimeBlock], 66'012U);
	EXPECT_EQ(expected[kIrqtimeBlock + kTotalTime], (12 + 660) * 1000 + 2U);
	EXPECT_EQ(upload(), expected);
	EXPECT_THAT(upload(), Each(0U));
}

TEST_F(SchedUpload12Cpus, cpu_8_alone_is_in_no_entry_of_its_own)
{
	counters(8).runtime_sum = 7 * 1024;
	Words expected{};
	expected[kRuntimeBlock + kTotalTime] = 7;
	EXPECT_EQ(upload(), expected);
}

TEST_F(SchedUploadSparse, entries_stand_at_the_cpu_s_own_number)
{
	ASSERT_THAT(possible_cpus(), ::testing::ElementsAre(0, 2, 5, 9));
	count_distinctly(1);
	EXPECT_EQ(upload(), distinct_words());
}

TEST_F(SchedUploadAtLoad, first_call_of_all_gives_the_totals_since_load)
{
	/* The priming pass calls the provider before it takes the baseline of this family. */
	using Provider = void *(*)();
	static std::function<void()> provide;
	bool was_called = false;
	provide = [&] {
		was_called = true;
		kernel.hooks.irqtime_account_hardirq(0);
		const zem_sched &totals = *inside().sched_upload();
		EXPECT_EQ(totals.irqtime.counts[0], 1U);
		EXPECT_EQ(totals.irqtime.cpu_time[3], 2U);
		EXPECT_EQ(totals.irqtime.total_time, 2U);
	};
	kernel.cpus.set_irqtime(3, 2048);
	kernel.faults.at("ring_buffer_alloc", [this] {
		*module.symbol<Provider>("get_all_kmemind_func") = []() -> void * {
			provide();
			return nullptr;
		};
	});
	load();
	EXPECT_TRUE(was_called);
}

} /* namespace test */
