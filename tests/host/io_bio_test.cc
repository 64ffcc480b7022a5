// SPDX-License-Identifier: GPL-2.0
/* Completing and cloned bios: what is counted, and what is not. */
#include <cstring>

#include "host/io_fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;

class Completions : public IoTest {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		find_devices();
		/* Exceeds the longest latency. */
		kernel.clock.step_monotonic_ns(int64_t{1} << 42);
	}

	void TearDown() override
	{
		clear();
		IoTest::TearDown();
	}

	void clear() { memset(&counters(), 0, sizeof(zem::BioCounters)); }

	[[nodiscard]] bool has_counted_nothing()
	{
		static constexpr zem::BioCounters kNothing{};
		return memcmp(&counters(), &kNothing, sizeof(kNothing)) == 0;
	}
};

class Slots : public Completions, public ::testing::WithParamInterface<u32> {};

TEST_P(Slots, have_the_latencies_from_a_power_of_two_up_to_before_the_next)
{
	const u32 slot = GetParam();
	complete({.latency = 1ull << slot});
	complete({.latency = (2ull << slot) - 1});
	EXPECT_EQ(counters().b_q2c[0][0][1][slot], 2U);
	EXPECT_EQ(counted_latencies(), 2U);
}

TEST_P(Slots, are_of_the_time_for_each_page)
{
	const u32 slot = GetParam();
	complete({.operation = kWriteBio, .latency = (3ull << slot) + 2, .pages = 3});
	complete({.operation = kWriteBio, .latency = (6ull << slot) - 1, .pages = 3});
	EXPECT_EQ(counters().b_q2c[0][1][1][slot], 2U);
	EXPECT_EQ(counted_latencies(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Completions, Slots, ::testing::Range(0u, 40u));

TEST_F(Completions, longer_than_the_last_slot_is_only_a_read_size)
{
	complete({.latency = 1ull << 40});
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_THAT(counters().b_sac, Each(0U));
	EXPECT_THAT(counters().b_sas, Each(0U));
	EXPECT_THAT(counters().bio_total_time, Each(0U));
	EXPECT_THAT(counters().continue_size_bio_cnt, ElementsAre(1U, 0U, 0U, 0U));
}

TEST_F(Completions, stamp_ahead_of_the_clock_does_not_spoil_the_sums)
{
	complete({.latency = -5ull});
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_THAT(counters().b_sac, Each(0U));
	EXPECT_THAT(counters().bio_total_time, Each(0U));
	EXPECT_THAT(counters().continue_size_bio_cnt, ElementsAre(1U, 0U, 0U, 0U));
}

TEST_F(Completions, clock_beyond_the_stamp_s_bits_is_cut_like_the_stamp)
{
	kernel.clock.step_monotonic_ns(int64_t{1} << 52);
	complete({.latency = 5000});
	EXPECT_EQ(counters().b_q2c[0][0][1][12], 1U);
}

TEST_F(Completions, bio_in_flight_while_the_stamp_wraps_has_its_latency)
{
	step_past_the_stamp_s_wrap(2 * kMs);
	complete({.latency = 5 * kMs});
	EXPECT_EQ(counters().b_q2c[0][0][1][22], 1U);
	EXPECT_EQ(counted_latencies(), 1U);
	EXPECT_THAT(counters().b_sac, ElementsAre(1U, 0U, 0U));
	EXPECT_THAT(counters().bio_total_time, ElementsAre(0U, 0U, 50U, 0U));
}

TEST_F(Completions, are_counted_by_device_direction_and_class)
{
	for (size_t device = 0; device < kDevices; device++)
		for (u32 direction = 0; direction < 2; direction++)
			for (u32 bio_class = 0; bio_class < 2; bio_class++) {
				complete({.device = device,
					  .operation = direction,
					  .latency = 1 << 20,
					  .in_foreground = bio_class == 0});
				EXPECT_EQ(counters().b_q2c[device][direction][bio_class][20], 1U)
					<< device << ' ' << direction << ' ' << bio_class;
			}
	EXPECT_EQ(counted_latencies(), 16U);
}

TEST_F(Completions, direction_is_the_low_bit_of_any_operation)
{
	complete({.operation = 2, .latency = 1 << 5});
	complete({.operation = 5, .latency = 1 << 6});
	complete({.operation = 0xff, .latency = 1 << 7});
	complete({.operation = 0x100, .latency = 1 << 8});
	EXPECT_EQ(counters().b_q2c[0][0][1][5], 1U);
	EXPECT_EQ(counters().b_q2c[0][1][1][6], 1U);
	EXPECT_EQ(counters().b_q2c[0][1][1][7], 1U);
	EXPECT_EQ(counters().b_q2c[0][0][1][8], 1U);
}

TEST_F(Completions, kinds_are_reads_sync_writes_and_other_writes)
{
	complete({.operation = kReadBio, .pages = 5});
	complete({.operation = kReadBio | kSyncFlag, .pages = 6});
	complete({.operation = kWriteBio | kSyncFlag, .pages = 7});
	complete({.operation = kWriteBio, .pages = 8});
	complete({.operation = kWriteBio | 0x1000, .pages = 300});
	EXPECT_THAT(counters().b_sac, ElementsAre(2U, 1U, 2U));
	EXPECT_THAT(counters().b_sas, ElementsAre(11U, 7U, 308U));
}

TEST_F(Completions, times_are_for_each_page_in_100_us_by_class_and_direction)
{
	complete({.operation = kReadBio, .latency = 199'999, .in_foreground = true});
	complete({.operation = kWriteBio, .latency = 200'000, .in_foreground = true});
	complete({.operation = kReadBio, .latency = 99'999});
	complete({.operation = kReadBio, .latency = 900'000, .pages = 3});
	complete({.operation = kWriteBio, .latency = 4 * 1'000'000, .pages = 2});
	complete({.operation = kWriteBio, .latency = 100'000});
	EXPECT_THAT(counters().bio_total_time, ElementsAre(1U, 2U, 3U, 21U));
}

struct ReadSize {
	u32 pages;
	size_t index;
};

class ReadSizes : public Completions, public ::testing::WithParamInterface<ReadSize> {};

TEST_P(ReadSizes, are_counted_of_reads_and_never_of_writes)
{
	complete({.operation = kReadBio, .pages = GetParam().pages});
	complete({.operation = kWriteBio, .pages = GetParam().pages});
	complete({.operation = kWriteBio | kSyncFlag, .pages = GetParam().pages});
	for (size_t i = 0; i < 4; i++)
		EXPECT_EQ(counters().continue_size_bio_cnt[i], i == GetParam().index) << i;
}

INSTANTIATE_TEST_SUITE_P(Completions, ReadSizes,
			 ::testing::Values(ReadSize{1, 0}, ReadSize{2, 1}, ReadSize{3, 2},
					   ReadSize{8, 2}, ReadSize{9, 3}, ReadSize{511, 3}),
			 [](const auto &info) { return std::to_string(info.param.pages); });

TEST_F(Completions, latency_below_the_number_of_pages_is_only_a_read_size)
{
	complete({.latency = 4, .pages = 5});
	complete({.operation = kWriteBio, .latency = 4, .pages = 5});
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_THAT(counters().b_sac, Each(0U));
	EXPECT_THAT(counters().b_sas, Each(0U));
	EXPECT_THAT(counters().continue_size_bio_cnt, ElementsAre(0U, 0U, 1U, 0U));
}

TEST_F(Completions, latency_equal_to_the_number_of_pages_is_the_first_slot)
{
	complete({.latency = 5, .pages = 5});
	EXPECT_EQ(counters().b_q2c[0][0][1][0], 1U);
	EXPECT_THAT(counters().b_sac, ElementsAre(1U, 0U, 0U));
}

TEST_F(Completions, discards_are_not_counted_but_lose_their_mark)
{
	for (const u32 operation : {kDiscardBio, kDiscardBio | kSyncFlag, kDiscardBio | 0x100}) {
		const bio done = complete({.operation = operation, .in_foreground = true});
		EXPECT_EQ(done.flags, 0);
	}
	EXPECT_TRUE(has_counted_nothing());
}

TEST_F(Completions, whole_pages_count_and_less_than_one_is_none)
{
	bio done = make_bio({.pages = 0, .in_foreground = true});
	done.issue |= 7ull << 51;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_TRUE(has_counted_nothing());
	EXPECT_EQ(done.flags, kForegroundMark) << "a bio that is ignored keeps its mark";

	done = make_bio({.operation = kWriteBio, .pages = 2});
	done.issue |= 7ull << 51 | 1ull << 63;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_THAT(counters().b_sas, ElementsAre(0U, 0U, 2U));
}

TEST_F(Completions, bio_without_a_stamp_is_ignored)
{
	bio done = make_bio({.in_foreground = true});
	done.issue = 0;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_TRUE(has_counted_nothing());
	EXPECT_EQ(done.flags, kForegroundMark);
}

TEST_F(Completions, bio_without_a_device_is_ignored)
{
	bio done = make_bio({.in_foreground = true});
	done.device = nullptr;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_TRUE(has_counted_nothing());
	EXPECT_EQ(done.flags, kForegroundMark);
}

TEST_F(Completions, bio_of_another_device_is_ignored)
{
	bio done = make_bio({.in_foreground = true});
	for (const u32 minor : {1u, 63u, 65u}) {
		done.device =
			&kernel.blocks.add("/dev/other" + std::to_string(minor), 8, minor, "other");
		kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	}
	EXPECT_TRUE(has_counted_nothing());
	EXPECT_EQ(done.flags, kForegroundMark);
}

TEST_F(Completions, nothing_is_counted_while_the_indicators_are_off)
{
	switch_io_indicators(0);
	const bio done = complete({.in_foreground = true});
	EXPECT_TRUE(has_counted_nothing());
	EXPECT_EQ(done.flags, kForegroundMark);
	switch_io_indicators(1);
	complete();
	EXPECT_EQ(counted_latencies(), 1U);
}

TEST_F(Completions, mark_is_consumed_and_other_flags_are_left_alone)
{
	bio done = make_bio();
	done.flags = 0xffff;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_EQ(done.flags, 0xdfff);
	EXPECT_EQ(counters().b_q2c[0][0][0][20], 1U);
	/* When a stacked device completes the bio again, it counts as background. */
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_EQ(done.flags, 0xdfff);
	EXPECT_EQ(counters().b_q2c[0][0][1][20], 1U);
}

TEST_F(Completions, clone_gets_the_mark_of_its_source_and_nothing_else)
{
	bio source = make_bio();
	bio clone = make_bio();
	source.flags = 0x1fff;
	clone.flags = 0x4001;
	kernel.hooks.blk_bio_clone_flag(&clone, &source);
	EXPECT_EQ(clone.flags, 0x4001);
	source.flags = kForegroundMark;
	kernel.hooks.blk_bio_clone_flag(&clone, &source);
	EXPECT_EQ(clone.flags, 0x6001);
	source.flags = 0;
	kernel.hooks.blk_bio_clone_flag(&clone, &source);
	EXPECT_EQ(clone.flags, 0x6001) << "a mark is never taken away";
	EXPECT_EQ(source.flags, 0);
}

TEST_F(IoTest, no_device_is_known_before_it_was_looked_for)
{
	complete();
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_THAT(counters().continue_size_bio_cnt, Each(0U));
}

/* The functions for other users of a bio. */
class OneBio : public IoTest {
protected:
	[[nodiscard]] u32 size_of(const bio &asked) { return inside().bio_size(&asked); }
	[[nodiscard]] u32 class_of(bio &asked) { return inside().bio_class(&asked); }
};

TEST_F(OneBio, has_the_nine_bits_of_pages_of_its_stamp)
{
	EXPECT_EQ(size_of({.issue = 0}), 0U);
	EXPECT_EQ(size_of({.issue = 1ull << 54}), 1U);
	EXPECT_EQ(size_of({.issue = ~0ull}), 511U);
	EXPECT_EQ(size_of({.issue = ~(511ull << 54)}), 0U);
}

TEST_F(OneBio, is_of_the_foreground_only_until_it_is_asked)
{
	bio asked{.flags = 0xffff};
	EXPECT_EQ(class_of(asked), 0U);
	EXPECT_EQ(asked.flags, 0xdfff);
	EXPECT_EQ(class_of(asked), 1U);
	EXPECT_EQ(asked.flags, 0xdfff);
}

TEST_F(OneBio, is_marked_for_a_uid_in_the_foreground_without_being_counted)
{
	bio marked{};
	as_uid(10050);
	mark(marked);
	EXPECT_EQ(marked.flags, 0) << "a UID that is not known";
	submit(10050);
	as_uid(10050);
	mark(marked);
	EXPECT_EQ(marked.flags, kForegroundMark);
	marked.flags = 0;
	set("10050 1");
	mark(marked);
	EXPECT_EQ(marked.flags, 0);
	static_cast<void>(collect());
	EXPECT_EQ(collect().io_top[0].value.fbc, 1U);
}

} /* namespace test */
