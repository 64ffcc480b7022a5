// SPDX-License-Identifier: GPL-2.0
/*
 * Capture files: a complete capture is read back; one that is cut off or damaged, and a file of
 * another kind, are recognised.
 */
#include <random>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "failure_of.h"
#include "records/crc32c.h"

namespace zemctl {

namespace {

using Payloads = std::vector<std::string>;

constexpr std::size_t kFirstBlock = sizeof(CaptureHeader);

const ByteVector kFirst = made_record(ZEM_CHANNEL_TEST, "first");
const ByteVector kSecond = made_record(ZEM_CHANNEL_KMEM, std::string(864, 'k'));

/* Header, two blocks with a record each, no end mark. */
ByteVector unfinished_capture()
{
	CaptureInMemory capture;
	capture.writer.write(as_record(kFirst));
	capture.writer.end_block();
	capture.writer.write(as_record(kSecond));
	capture.writer.end_block();
	return capture.content();
}

constexpr Losses kLosses = {1, 70, 6, 240, 3};

ByteVector finished_capture(BlockCompression compression = BlockCompression::kNone)
{
	CaptureInMemory capture(compression);
	capture.writer.write(as_record(kFirst));
	capture.writer.note_losses(kLosses);
	capture.writer.note_losses(kLosses);
	capture.writer.write(as_record(kSecond));
	capture.writer.finish();
	return capture.content();
}

BlockHeader block_at(const ByteVector &bytes, std::size_t position)
{
	BlockHeader header;
	std::memcpy(&header, bytes.data() + position, sizeof(header));
	return header;
}

/* Sets the CRCs of the block at @position after a change of it. */
void seal_block(ByteVector &bytes, std::size_t position)
{
	BlockHeader header = block_at(bytes, position);
	header.stored_crc =
		crc32c(Bytes(bytes).subspan(position + sizeof(header), header.stored_size));
	header.crc = crc32c(std::as_bytes(std::span(&header, 1)).first(sizeof(header) - 4));
	std::memcpy(bytes.data() + position, &header, sizeof(header));
}

} // namespace

TEST(CaptureTest, what_was_written_is_read)
{
	const CaptureContent content = read_all(finished_capture());
	EXPECT_EQ(content.payloads, (Payloads{"first", std::string(864, 'k')}));
	EXPECT_TRUE(content.finished);
	EXPECT_EQ(content.left_over, 0u);
	EXPECT_TRUE(content.skips.empty());
}

TEST(CaptureTest, what_was_compressed_is_read)
{
	const ByteVector compressed = finished_capture(BlockCompression::kZstd);
	EXPECT_LT(compressed.size(), finished_capture().size() / 2);
	const CaptureContent content = read_all(compressed);
	EXPECT_EQ(content.payloads, (Payloads{"first", std::string(864, 'k')}));
	EXPECT_TRUE(content.finished);
}

TEST(CaptureTest, a_block_that_does_not_compress_is_stored)
{
	CaptureInMemory capture(BlockCompression::kZstd);
	std::mt19937 random(1);
	std::string noise(4000, 0);
	for (char &byte : noise)
		byte = static_cast<char>(random());
	capture.writer.write(as_record(made_record(ZEM_CHANNEL_TEST, noise)));
	capture.writer.end_block();
	const BlockHeader header = block_at(capture.content(), kFirstBlock);
	EXPECT_EQ(header.compression, 0u);
	EXPECT_EQ(header.stored_size, 4032u);
	EXPECT_EQ(read_all(capture.content()).payloads, Payloads{noise});
}

TEST(CaptureTest, marks_carry_the_totals_so_far)
{
	const CaptureContent content = read_all(finished_capture());
	ASSERT_EQ(content.marks.size(), 2u) << "a gap is marked once";
	EXPECT_EQ(content.marks[0].kind, MarkKind::kGap);
	const CaptureTotals gap = content.marks[0].mark().totals();
	EXPECT_EQ(gap.records, 1u);
	EXPECT_EQ(gap.lost_bytes, 70u);
	EXPECT_EQ(gap.dropped_records, 6u);
	EXPECT_EQ(gap.dropped_bytes, 240u);
	EXPECT_EQ(gap.kernel_lost, 3u);
	EXPECT_EQ(content.marks[1].kind, MarkKind::kEnd);
	const CaptureTotals end = content.marks[1].mark().totals();
	EXPECT_EQ(end.records, 2u);
	EXPECT_EQ(end.bytes, kFirst.size() + kSecond.size());
	EXPECT_EQ(end.gaps, 1u);
}

TEST(CaptureTest, losses_before_the_file_are_not_in_its_totals)
{
	const TemporaryFile file;
	Output output(file.fd(), "some.zem");
	CaptureWriter writer(output, BlockCompression::kNone, kLosses);
	writer.note_losses(kLosses);
	writer.note_losses({2, 71, 6, 240, 3});
	writer.finish();
	const CaptureContent content = read_all(file.content());
	ASSERT_EQ(content.marks.size(), 2u);
	EXPECT_EQ(content.marks[0].mark().totals().gaps, 1u);
	EXPECT_EQ(content.marks[0].mark().totals().lost_bytes, 1u);
	EXPECT_EQ(content.marks[0].mark().totals().dropped_records, 0u);
}

TEST(CaptureTest, records_stand_in_their_block_as_they_came)
{
	CaptureInMemory capture;
	capture.writer.write(as_record(kFirst));
	capture.writer.write(as_record(kSecond));
	capture.writer.end_block();
	const ByteVector bytes = capture.content();
	EXPECT_EQ(ByteVector(bytes.begin() + kFirstBlock + sizeof(BlockHeader), bytes.end()),
		  kFirst + kSecond);
	const BlockHeader header = block_at(bytes, kFirstBlock);
	EXPECT_EQ(header.sequence, 0u);
	EXPECT_EQ(header.records_before, 0u);
	EXPECT_EQ(header.records, 2u);
}

TEST(CaptureTest, a_block_ends_at_its_size)
{
	CaptureInMemory capture;
	const ByteVector record = made_record(ZEM_CHANNEL_TEST, std::string(7000, 'x'));
	for (int i = 0; i < 10; i++)
		capture.writer.write(as_record(record));
	EXPECT_EQ(capture.writer.records_written(), 9u);
	EXPECT_EQ(capture.content().size(), capture.writer.bytes_written());
	capture.writer.finish();
	EXPECT_EQ(read_all(capture.content()).payloads.size(), 10u);
}

TEST(CaptureTest, two_captures_have_different_ids)
{
	EXPECT_NE(block_at(unfinished_capture(), kFirstBlock).capture_id,
		  block_at(unfinished_capture(), kFirstBlock).capture_id);
}

TEST(CaptureTest, a_mark_of_an_unknown_kind_is_skipped_by_its_length)
{
	CaptureInMemory capture;
	capture.writer.write(as_record(kFirst));
	capture.writer.write_mark(static_cast<MarkKind>(200), Bytes(kSecond));
	capture.writer.write_mark(static_cast<MarkKind>(0), {});
	capture.writer.write(as_record(kFirst));
	capture.writer.finish();
	const CaptureContent content = read_all(capture.content());
	EXPECT_EQ(content.payloads, (Payloads{"first", "first"}));
	EXPECT_EQ(content.marks.size(), 1u);
	EXPECT_TRUE(content.skips.empty());
}

TEST(CaptureTest, a_mark_with_more_or_less_than_its_members_is_read)
{
	CaptureInMemory capture;
	const ClockReading clock = {1, 2, 3, -3600, 5};
	capture.writer.write_mark(MarkKind::kClock, Bytes(raw_bytes_of(clock)).first(16));
	const ByteVector larger = raw_bytes_of(clock) + ByteVector(8, std::byte{0xee});
	capture.writer.write_mark(MarkKind::kClock, Bytes(larger));
	capture.writer.finish();
	const CaptureContent content = read_all(capture.content());
	ASSERT_EQ(content.marks.size(), 3u);
	EXPECT_EQ(content.marks[0].mark().as<ClockReading>().monotonic, 2u);
	EXPECT_EQ(content.marks[0].mark().as<ClockReading>().boottime, 0u);
	EXPECT_EQ(content.marks[1].mark().as<ClockReading>().utc_offset, -3600);
}

TEST(CaptureTest, cut_at_every_byte_the_whole_blocks_are_read_and_the_rest_is_counted)
{
	const ByteVector whole = unfinished_capture();
	const std::size_t second = kFirstBlock + sizeof(BlockHeader) + kFirst.size();
	for (std::size_t size = kFirstBlock; size < whole.size(); size++) {
		const CaptureContent content = read_all(first_bytes(whole, size));
		const bool has_first = size >= second;
		EXPECT_EQ(content.payloads.size(), has_first ? 1u : 0u) << size;
		EXPECT_EQ(content.left_over, size - (has_first ? second : kFirstBlock)) << size;
		EXPECT_TRUE(content.skips.empty()) << size;
		EXPECT_FALSE(content.finished);
	}
}

TEST(CaptureTest, cut_within_its_header_it_is_refused)
{
	const ByteVector whole = unfinished_capture();
	for (std::size_t size = 0; size < 8; size++)
		EXPECT_EQ(failure_of(read_all, first_bytes(whole, size)),
			  "some.zem: not a zem capture");
	for (std::size_t size = 8; size < kFirstBlock; size++)
		EXPECT_EQ(failure_of(read_all, first_bytes(whole, size)),
			  "some.zem: the capture is cut off within its header");
}

TEST(CaptureTest, a_file_of_another_kind_is_refused)
{
	EXPECT_EQ(failure_of(read_all, ByteVector(500, std::byte{'x'})),
		  "some.zem: not a zem capture");
	EXPECT_EQ(failure_of(read_all, ByteVector(300'000, std::byte{0})),
		  "some.zem: not a zem capture");
}

TEST(CaptureTest, a_newer_version_is_refused)
{
	ByteVector bytes = unfinished_capture();
	CaptureHeader header;
	std::memcpy(&header, bytes.data(), sizeof(header));
	header.version = 3;
	header.crc = crc32c(std::as_bytes(std::span(&header, 1)).first(sizeof(header) - 4));
	std::memcpy(bytes.data(), &header, sizeof(header));
	EXPECT_EQ(failure_of(read_all, bytes),
		  "some.zem: capture version 3 is newer than this zemctl, "
		  "which reads version 2");
}

TEST(CaptureTest, a_larger_header_is_stepped_over)
{
	ByteVector bytes = unfinished_capture();
	bytes.insert(bytes.begin() + sizeof(CaptureHeader) - 4, 8, std::byte{0xee});
	bytes[offsetof(CaptureHeader, header_size)] = std::byte{sizeof(CaptureHeader) + 8};
	const std::uint32_t crc = crc32c(Bytes(bytes).first(sizeof(CaptureHeader) + 4));
	std::memcpy(bytes.data() + sizeof(CaptureHeader) + 4, &crc, sizeof(crc));
	const CaptureContent content = read_all(bytes);
	EXPECT_EQ(content.payloads.size(), 2u);
	EXPECT_TRUE(content.skips.empty());
}

TEST(CaptureTest, a_damaged_header_costs_no_records)
{
	for (std::size_t i = 0; i < kFirstBlock; i++) {
		ByteVector bytes = finished_capture();
		bytes[i] ^= std::byte{0x01};
		const CaptureContent content = read_all(bytes);
		EXPECT_EQ(content.payloads.size(), 2u) << i;
		ASSERT_EQ(content.skips.size(), 1u) << i;
		EXPECT_EQ(content.skips[0].position, 0u);
		EXPECT_EQ(content.skips[0].bytes, kFirstBlock);
		EXPECT_EQ(content.skips[0].records, 0u);
	}
}

TEST(CaptureTest, a_damaged_header_without_a_block_is_refused)
{
	ByteVector bytes = first_bytes(unfinished_capture(), kFirstBlock);
	bytes[offsetof(CaptureHeader, version)] ^= std::byte{0xff};
	EXPECT_EQ(failure_of(read_all, bytes), "some.zem: the capture's header is damaged");
}

TEST(CaptureTest, a_damaged_block_costs_its_own_records_and_is_reported)
{
	const ByteVector whole = unfinished_capture();
	const std::size_t second = kFirstBlock + sizeof(BlockHeader) + kFirst.size();
	for (std::size_t i = kFirstBlock; i < second; i++) {
		ByteVector bytes = whole;
		bytes[i] ^= std::byte{0x80};
		const CaptureContent content = read_all(bytes);
		EXPECT_EQ(content.payloads, Payloads{std::string(864, 'k')}) << i;
		ASSERT_EQ(content.skips.size(), 1u) << i;
		EXPECT_EQ(content.skips[0].position, kFirstBlock);
		EXPECT_EQ(content.skips[0].bytes, second - kFirstBlock);
		EXPECT_EQ(content.skips[0].records, 1u);
	}
}

TEST(CaptureTest, a_block_that_was_cut_out_is_noticed)
{
	const ByteVector whole = unfinished_capture();
	const std::size_t second = kFirstBlock + sizeof(BlockHeader) + kFirst.size();
	ByteVector bytes = whole;
	bytes.erase(bytes.begin() + kFirstBlock, bytes.begin() + static_cast<long>(second));
	const CaptureContent content = read_all(bytes);
	EXPECT_EQ(content.payloads.size(), 1u);
	ASSERT_EQ(content.skips.size(), 1u);
	EXPECT_EQ(content.skips[0].bytes, 0u);
	EXPECT_EQ(content.skips[0].records, 1u);
}

TEST(CaptureTest, bytes_of_another_capture_are_no_records_of_this_one)
{
	const ByteVector good = finished_capture();
	const ByteVector other = finished_capture();
	ByteVector bytes = first_bytes(good, kFirstBlock);
	bytes.insert(bytes.end(), other.begin() + kFirstBlock, other.end());
	bytes.insert(bytes.end(), good.begin() + kFirstBlock, good.end());
	const CaptureContent content = read_all(bytes);
	EXPECT_EQ(content.payloads.size(), 2u);
	ASSERT_EQ(content.skips.size(), 1u);
	EXPECT_EQ(content.skips[0].bytes, other.size() - kFirstBlock);
}

TEST(CaptureTest, a_block_that_stands_twice_is_read_once)
{
	ByteVector bytes = unfinished_capture();
	const std::size_t second = kFirstBlock + sizeof(BlockHeader) + kFirst.size();
	const ByteVector first(bytes.begin() + kFirstBlock,
			       bytes.begin() + static_cast<long>(second));
	bytes.insert(bytes.begin() + static_cast<long>(second), first.begin(), first.end());
	const CaptureContent content = read_all(bytes);
	EXPECT_EQ(content.payloads.size(), 2u);
	EXPECT_EQ(content.skips.size(), 1u);
}

TEST(CaptureTest, zeros_are_no_records)
{
	ByteVector bytes = unfinished_capture();
	bytes.resize(bytes.size() + (std::size_t{1} << 20));
	const CaptureContent content = read_all(bytes);
	EXPECT_EQ(content.payloads.size(), 2u);
	ASSERT_EQ(content.skips.size(), 1u);
	EXPECT_EQ(content.skips[0].bytes, std::size_t{1} << 20);
	EXPECT_FALSE(content.finished);
}

TEST(CaptureTest, bytes_after_the_end_mark_are_reported)
{
	const ByteVector good = finished_capture();
	const CaptureContent content = read_all(good + kFirst);
	EXPECT_EQ(content.payloads.size(), 2u);
	ASSERT_EQ(content.skips.size(), 1u);
	EXPECT_EQ(content.skips[0].position, good.size());
	EXPECT_EQ(content.skips[0].bytes, kFirst.size());
}

TEST(CaptureTest, a_block_with_bytes_that_are_no_record_is_read_up_to_them)
{
	for (const ByteVector &wrong :
	     {made_record(77, "x"), made_record(made_header(1, 9000), "x"),
	      made_record(made_header(kMarkChannel, 9000), "x")}) {
		CaptureInMemory capture;
		capture.writer.write(as_record(kFirst));
		capture.writer.write({made_header(1, 0), wrong});
		capture.writer.finish();
		const CaptureContent content = read_all(capture.content());
		EXPECT_EQ(content.payloads, Payloads{"first"});
		EXPECT_EQ(content.skips.size(), 1u);
	}
}

TEST(CaptureTest, a_block_that_claims_more_than_a_block_may_have_is_skipped)
{
	for (const std::uint32_t size : {kBlockContentMax + 1, ~0u}) {
		ByteVector bytes = finished_capture(BlockCompression::kZstd);
		std::memcpy(bytes.data() + kFirstBlock + offsetof(BlockHeader, content_size), &size,
			    sizeof(size));
		seal_block(bytes, kFirstBlock);
		const CaptureContent content = read_all(bytes);
		EXPECT_TRUE(content.payloads.empty());
		EXPECT_EQ(content.skips.size(), 1u);
	}
}

TEST(CaptureTest, a_block_of_an_unknown_compression_is_skipped)
{
	ByteVector bytes = unfinished_capture();
	bytes[kFirstBlock + offsetof(BlockHeader, compression)] = std::byte{9};
	seal_block(bytes, kFirstBlock);
	const CaptureContent content = read_all(bytes);
	EXPECT_EQ(content.payloads.size(), 1u);
	ASSERT_EQ(content.skips.size(), 1u);
	EXPECT_EQ(content.skips[0].records, 1u);
}

TEST(CaptureTest, a_full_disk_is_a_failure_that_names_the_file)
{
	const FileDescriptor full(::open("/dev/full", O_WRONLY));
	Output output(full.get(), "some.zem");
	try {
		const CaptureWriter writer(output, BlockCompression::kNone);
		FAIL() << "nothing was thrown";
	} catch (const Failure &failure) {
		EXPECT_STREQ(failure.what(), "some.zem: No space left on device");
		EXPECT_EQ(failure.status(), 1);
	}
}

TEST(OutputTest, what_was_appended_precedes_what_is_written)
{
	const TemporaryFile file;
	Output output(file.fd(), "some file");
	output.append("first ");
	const std::string_view second = "second ";
	output.write(std::as_bytes(std::span(second)));
	output.append("third");
	output.flush();
	const ByteVector content = file.content();
	EXPECT_EQ(std::string(reinterpret_cast<const char *>(content.data()), content.size()),
		  "first second third");
}

} // namespace zemctl
