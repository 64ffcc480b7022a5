// SPDX-License-Identifier: GPL-2.0
/*
 * A capture passes its records to the screen of zemctl top in its own time.
 */
#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "top/replay.h"
#include "top_fixture.h"

namespace zemctl {

namespace {

class TopReplayTest : public testing::Test {
protected:
	void write(std::uint64_t time)
	{
		const ByteVector bytes = made_record(ZEM_CHANNEL_WIFI, "x", time);
		capture.writer.write(as_record(bytes));
	}
	std::uint64_t records(std::uint64_t now) const { return model.view(now).records; }

	CaptureInMemory capture;
	TopModel model;
};

} // namespace

TEST_F(TopReplayTest, passes_records_up_to_a_time)
{
	for (const std::uint64_t second : {10, 11, 13})
		write(second * kNsPerSecond);
	capture.writer.finish();
	const TemporaryFile file(capture.content());
	CaptureReader reader(file.fd(), "some.zem");
	Replay replay(reader, model);
	EXPECT_EQ(replay.begin(), 10 * kNsPerSecond);
	EXPECT_EQ(records(0), 0u);
	replay.advance(replay.begin());
	EXPECT_EQ(records(0), 1u);
	replay.advance(11 * kNsPerSecond - 1);
	EXPECT_EQ(records(0), 1u);
	replay.advance(12 * kNsPerSecond);
	EXPECT_EQ(records(0), 2u);
	EXPECT_FALSE(replay.has_ended());
	EXPECT_EQ(replay.latest(), 11 * kNsPerSecond);
	replay.advance(13 * kNsPerSecond);
	EXPECT_TRUE(replay.has_ended());
	EXPECT_TRUE(reader.is_finished());
	EXPECT_EQ(records(0), 3u);
	EXPECT_TRUE(model.view(0).losses.are_none());
}

TEST_F(TopReplayTest, a_clock_that_is_set_back_does_not_stop_it)
{
	for (const std::uint64_t second : {10, 3, 4, 12})
		write(second * kNsPerSecond);
	const TemporaryFile file((capture.writer.finish(), capture.content()));
	CaptureReader reader(file.fd(), "some.zem");
	Replay replay(reader, model);
	replay.advance(10 * kNsPerSecond);
	EXPECT_EQ(records(0), 3u);
	EXPECT_EQ(replay.latest(), 10 * kNsPerSecond);
}

TEST_F(TopReplayTest, counts_losses_of_each_kind)
{
	write(kNsPerSecond);
	capture.writer.note_losses({.gaps = 1, .kernel_lost = 17});
	write(2 * kNsPerSecond);
	capture.writer.note_losses({.gaps = 2, .dropped_records = 5, .kernel_lost = 17});
	write(3 * kNsPerSecond);
	capture.writer.note_losses(
		{.gaps = 3, .lost_bytes = 99, .dropped_records = 5, .kernel_lost = 17});
	capture.writer.finish();
	const TemporaryFile file(capture.content());
	CaptureReader reader(file.fd(), "some.zem");
	Replay replay(reader, model);
	replay.advance(kNsPerSecond);
	EXPECT_EQ(model.view(0).losses.kernel, 17u);
	EXPECT_EQ(model.view(0).losses.gaps, 0u);
	replay.advance_to_end();
	const TopLosses losses = model.view(0).losses;
	EXPECT_EQ(losses.kernel, 17u);
	EXPECT_EQ(losses.dropped, 5u);
	EXPECT_EQ(losses.gaps, 1u);
	EXPECT_EQ(losses.bytes, 99u);
}

TEST_F(TopReplayTest, damage_is_a_gap)
{
	write(kNsPerSecond);
	capture.writer.end_block();
	write(2 * kNsPerSecond);
	capture.writer.finish();
	ByteVector bytes = capture.content();
	bytes[bytes.size() - 1] ^= std::byte{1};
	const TemporaryFile file(bytes);
	CaptureReader reader(file.fd(), "some.zem");
	Replay replay(reader, model);
	replay.advance_to_end();
	EXPECT_FALSE(reader.is_finished());
	EXPECT_EQ(records(0), 1u);
	EXPECT_EQ(model.view(0).losses.gaps, 1u);
}

TEST_F(TopReplayTest, losses_whose_mark_is_damaged_are_in_the_totals_at_the_end)
{
	write(kNsPerSecond);
	capture.writer.end_block();
	const std::size_t begin = capture.content().size();
	capture.writer.note_losses({.gaps = 1, .kernel_lost = 17});
	write(2 * kNsPerSecond);
	capture.writer.end_block();
	const std::size_t end = capture.content().size();
	capture.writer.finish();
	ByteVector bytes = capture.content();
	bytes[(begin + end) / 2] ^= std::byte{1};
	const TemporaryFile file(bytes);
	CaptureReader reader(file.fd(), "some.zem");
	Replay replay(reader, model);
	replay.advance_to_end();
	EXPECT_EQ(records(0), 1u);
	EXPECT_EQ(model.view(0).losses.kernel, 17u);
	EXPECT_EQ(model.view(0).losses.gaps, 1u);
}

TEST_F(TopReplayTest, a_capture_may_have_no_records)
{
	capture.writer.finish();
	const TemporaryFile file(capture.content());
	CaptureReader reader(file.fd(), "some.zem");
	const Replay replay(reader, model);
	EXPECT_TRUE(replay.has_ended());
	EXPECT_EQ(replay.begin(), 0u);
}

} // namespace zemctl
