// SPDX-License-Identifier: GPL-2.0
/*
 * Captures of version 1, which have no blocks: they are read up to the first byte that is damaged.
 */
#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "failure_of.h"

namespace zemctl {

namespace {

const ByteVector kOne = made_record(ZEM_CHANNEL_TEST, "one");
const ByteVector kTwo = made_record(ZEM_CHANNEL_GPU, "two");

ByteVector old_header()
{
	CaptureHeaderV1 header = {};
	std::ranges::copy(kCaptureMagic, header.magic);
	header.version = 1;
	header.header_size = sizeof(header);
	header.start_time = 1'700'000'000'000'000'000;
	return raw_bytes_of(header);
}

ByteVector old_mark(MarkKind kind, std::uint64_t lost_bytes = 0)
{
	zem_record_header header = made_header(kMarkChannel, kTotalsSizeV1);
	header.sub_type = static_cast<std::uint8_t>(kind);
	const std::uint64_t totals[4] = {1, kOne.size(), lost_bytes, 1};
	return raw_bytes_of(header) + raw_bytes_of(totals);
}

ByteVector old_capture()
{
	return old_header() + kOne + old_mark(MarkKind::kGap, 7) + kTwo + old_mark(MarkKind::kEnd);
}

} // namespace

TEST(OldCaptureTest, its_records_and_marks_are_read)
{
	const CaptureContent content = read_all(old_capture());
	EXPECT_EQ(content.payloads, (std::vector<std::string>{"one", "two"}));
	ASSERT_EQ(content.marks.size(), 2u);
	EXPECT_EQ(content.marks[0].kind, MarkKind::kGap);
	EXPECT_EQ(content.marks[0].mark().totals().lost_bytes, 7u);
	EXPECT_EQ(content.marks[0].mark().totals().kernel_lost, 0u);
	EXPECT_TRUE(content.finished);
	EXPECT_TRUE(content.skips.empty());
}

TEST(OldCaptureTest, cut_at_every_byte_the_whole_records_are_read_and_the_rest_is_counted)
{
	const ByteVector whole = old_header() + kOne + kTwo;
	for (std::size_t size = 136; size < whole.size(); size++) {
		const CaptureContent content = read_all(first_bytes(whole, size));
		const bool has_one = size >= 136 + kOne.size();
		EXPECT_EQ(content.payloads.size(), has_one ? 1u : 0u) << size;
		EXPECT_EQ(content.left_over, size - (has_one ? 136 + kOne.size() : 136)) << size;
		EXPECT_FALSE(content.finished);
	}
}

TEST(OldCaptureTest, what_is_no_record_ends_the_reading_and_is_reported)
{
	const ByteVector good = old_header() + kOne;
	for (const ByteVector &wrong : {made_record(77, "x"), made_record(made_header(1, 9000), ""),
					made_record(kMarkChannel, "x"), ByteVector(1 << 20)}) {
		const CaptureContent content = read_all(good + wrong + kTwo);
		EXPECT_EQ(content.payloads, std::vector<std::string>{"one"});
		ASSERT_EQ(content.skips.size(), 1u);
		EXPECT_EQ(content.skips[0].position, good.size());
		EXPECT_EQ(content.skips[0].bytes, wrong.size() + kTwo.size());
		EXPECT_EQ(content.skips[0].records, std::nullopt);
	}
}

TEST(OldCaptureTest, bytes_after_the_end_mark_are_reported)
{
	const CaptureContent content = read_all(old_capture() + kOne);
	EXPECT_EQ(content.payloads.size(), 2u);
	ASSERT_EQ(content.skips.size(), 1u);
	EXPECT_EQ(content.skips[0].bytes, kOne.size());
}

TEST(OldCaptureTest, a_larger_header_is_stepped_over)
{
	ByteVector bytes = old_capture();
	bytes[offsetof(CaptureHeaderV1, header_size)] = std::byte{136 + 8};
	bytes.insert(bytes.begin() + 136, 8, std::byte{0xee});
	EXPECT_EQ(read_all(bytes).payloads.size(), 2u);
}

TEST(OldCaptureTest, a_damaged_header_is_refused)
{
	ByteVector bytes = old_capture();
	bytes[offsetof(CaptureHeaderV1, header_size)] = std::byte{10};
	EXPECT_EQ(failure_of(read_all, bytes), "some.zem: the capture's header is damaged");
}

} // namespace zemctl
