// SPDX-License-Identifier: GPL-2.0
/*
 * The walk over untrusted bytes.
 */
#include "records/walk.h"

#include <random>

#include <gtest/gtest.h>

#include "made_records.h"

namespace zemctl {

namespace {

struct Walked {
	std::vector<std::string> payloads;
	std::size_t position;
	WalkStop stop;
	std::string complaint;
};

Walked walk_over(const ByteVector &bytes)
{
	Walked result = {};
	Walk walk(bytes);
	while (const auto record = walk.next())
		result.payloads.push_back(payload_text(*record));
	result.position = walk.position();
	result.stop = walk.stop();
	result.complaint = walk.complaint();
	return result;
}

const ByteVector kGood = made_record(ZEM_CHANNEL_TEST, "one");

} // namespace

TEST(WalkTest, no_bytes_have_no_records)
{
	const Walked walked = walk_over({});
	EXPECT_TRUE(walked.payloads.empty());
	EXPECT_EQ(walked.stop, WalkStop::kEnd);
}

TEST(WalkTest, records_stand_back_to_back_at_any_byte)
{
	const ByteVector bytes = kGood + made_record(ZEM_CHANNEL_BATTERY, "") +
				 made_record(ZEM_CHANNEL_TRACE, "three!");
	const Walked walked = walk_over(bytes);
	EXPECT_EQ(walked.payloads, (std::vector<std::string>{"one", "", "three!"}));
	EXPECT_EQ(walked.stop, WalkStop::kEnd);
	EXPECT_EQ(walked.position, bytes.size());
}

TEST(WalkTest, a_header_of_zeros_ends_it)
{
	const Walked walked = walk_over(kGood + ByteVector(100));
	EXPECT_EQ(walked.payloads.size(), 1u);
	EXPECT_EQ(walked.stop, WalkStop::kZeros);
	EXPECT_EQ(walked.position, kGood.size());
}

TEST(WalkTest, a_rest_of_zeros_shorter_than_a_header_ends_it)
{
	EXPECT_EQ(walk_over(kGood + ByteVector(31)).stop, WalkStop::kZeros);
}

TEST(WalkTest, a_channel_beyond_the_table_ends_it)
{
	const Walked walked = walk_over(kGood + made_record(ZEM_CHANNEL_COUNT, "x") + kGood);
	EXPECT_EQ(walked.payloads.size(), 1u);
	EXPECT_EQ(walked.stop, WalkStop::kBadChannel);
	EXPECT_EQ(walked.complaint, "byte 35: channel 21 does not exist");
}

TEST(WalkTest, a_length_beyond_the_limit_ends_it)
{
	const ByteVector head = made_record(made_header(ZEM_CHANNEL_TEST, 7905), "");
	const Walked walked = walk_over(head + ByteVector(8000));
	EXPECT_EQ(walked.stop, WalkStop::kBadLength);
	EXPECT_EQ(walked.complaint, "byte 0: a payload of 7905 bytes, 7904 at most");
}

TEST(WalkTest, a_length_that_would_wrap_around_ends_it)
{
	const Walked walked =
		walk_over(made_record(made_header(ZEM_CHANNEL_TEST, 0xffffffff), "x"));
	EXPECT_EQ(walked.stop, WalkStop::kBadLength);
}

TEST(WalkTest, the_largest_record_passes)
{
	const Walked walked = walk_over(made_record(ZEM_CHANNEL_TEST, std::string(7904, 'x')));
	ASSERT_EQ(walked.payloads.size(), 1u);
	EXPECT_EQ(walked.payloads[0].size(), 7904u);
}

TEST(WalkTest, a_record_cut_at_any_byte_is_not_taken)
{
	const ByteVector bytes = kGood + kGood;
	for (std::size_t size = kGood.size() + 1; size < bytes.size(); size++) {
		const Walked walked = walk_over(
			ByteVector(bytes.begin(), bytes.begin() + static_cast<long>(size)));
		EXPECT_EQ(walked.payloads.size(), 1u) << size;
		EXPECT_EQ(walked.stop, WalkStop::kCutOff) << size;
		EXPECT_EQ(walked.complaint, "byte 35: the record runs past the end");
	}
}

TEST(WalkTest, reserved_bytes_do_not_matter)
{
	zem_record_header header = made_header(ZEM_CHANNEL_TEST, 3);
	std::memset(header.reserved0, 0xff, sizeof(header.reserved0));
	std::memset(header.reserved1, 0xff, sizeof(header.reserved1));
	EXPECT_EQ(walk_over(made_record(header, "abc")).payloads, std::vector<std::string>{"abc"});
}

TEST(WalkTest, noise_neither_crashes_nor_loops)
{
	std::mt19937 random(1);
	for (int round = 0; round < 2000; round++) {
		ByteVector noise(random() % 300);
		for (std::byte &byte : noise)
			byte = static_cast<std::byte>(random() % 4 == 0 ? random() % 256 : 0);
		const Walked walked = walk_over(noise);
		EXPECT_LE(walked.position, noise.size());
		EXPECT_LE(walked.payloads.size(), noise.size() / ZEM_HEADER_SIZE);
	}
}

} // namespace zemctl
