// SPDX-License-Identifier: GPL-2.0
/*
 * The records and gaps that a reader finds in successive looks at the shared buffer.
 */
#include "kernel/reader.h"

#include <gtest/gtest.h>

#include "made_records.h"

namespace zemctl {

namespace {

class ReaderTest : public testing::Test, protected ThreeRecords {
protected:
	void look_at(const ByteVector &bytes)
	{
		Snapshot &look = reader.next_look();
		look.bytes.fill(std::byte{0});
		std::ranges::copy(bytes, look.bytes.begin());
	}

	/* Returns the payloads taken since the last call. */
	std::vector<std::string> taken()
	{
		std::vector<std::string> payloads;
		for (const Record &record : reader.records())
			payloads.push_back(payload_text(record));
		notes = reader.notes();
		reader.clear();
		return payloads;
	}

	using Payloads = std::vector<std::string>;

	Reader reader;
	Payloads notes;
};

} // namespace

TEST_F(ReaderTest, one_look_is_not_enough)
{
	look_at(a);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads());
}

TEST_F(ReaderTest, two_looks_that_agree_give_the_record_once)
{
	look_at(a);
	reader.take_agreed();
	look_at(a);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads{"a"});
	look_at(a);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads());
	EXPECT_EQ(reader.taken(), a.size());
}

TEST_F(ReaderTest, a_half_copied_record_waits_until_it_holds_still)
{
	ByteVector half = a + b;
	half.back() = std::byte{0};
	look_at(a + b);
	look_at(half);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads{"a"});
	look_at(a + b);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads());
	look_at(a + b);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads{"bb"});
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(ReaderTest, a_header_half_written_is_no_gap)
{
	ByteVector half = a + b;
	half[a.size() + offsetof(zem_record_header, channel)] = std::byte{99};
	look_at(half);
	look_at(half);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads{"a"});
	look_at(a + b);
	look_at(a + b);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads{"bb"});
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(ReaderTest, a_stable_buffer_is_taken_at_one_look)
{
	look_at(a + b);
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(a.size() + b.size()));
	EXPECT_EQ(taken(), (Payloads{"a", "bb"}));
	EXPECT_EQ(notes, Payloads());
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
	EXPECT_EQ(reader.counters().hand_backs, 1u);
}

TEST_F(ReaderTest, after_a_hand_back_it_starts_at_the_front_and_trusts_no_older_look)
{
	look_at(a);
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(a.size()));
	taken();
	look_at(a);
	reader.take_agreed();
	EXPECT_FALSE(reader.looks_agree());
	EXPECT_EQ(taken(), Payloads());
	look_at(a + b);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads{"a"});
}

TEST_F(ReaderTest, bytes_that_arrived_before_the_hand_back_are_lost_and_counted)
{
	look_at(a);
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(a.size() + b.size()));
	EXPECT_EQ(taken(), Payloads{"a"});
	EXPECT_EQ(reader.counters().lost_bytes, b.size());
	EXPECT_EQ(reader.counters().gaps, 1u);
	EXPECT_EQ(notes, Payloads{"gap: 34 bytes arrived between the last look and the "
				  "hand-back and are lost"});
}

TEST_F(ReaderTest, an_empty_hand_back_of_a_full_buffer_means_another_reader)
{
	look_at(a);
	reader.take_all();
	reader.handed_back(0);
	EXPECT_EQ(taken(), Payloads{"a"});
	EXPECT_EQ(reader.counters().gaps, 1u);
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
	EXPECT_EQ(notes, Payloads{"gap: another reader handed the buffer back before us, records "
				  "may be missing"});
}

TEST_F(ReaderTest, a_smaller_hand_back_means_another_reader)
{
	look_at(a + b);
	reader.take_all();
	reader.handed_back(5);
	EXPECT_EQ(reader.counters().gaps, 1u);
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
}

TEST_F(ReaderTest, an_empty_buffer_handed_back_empty_is_no_gap)
{
	look_at({});
	reader.take_all();
	reader.handed_back(0);
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(ReaderTest, bytes_that_are_no_record_are_a_gap_of_that_size)
{
	const ByteVector bad = made_record(77, "x") + c;
	look_at(a + bad);
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(a.size() + bad.size()));
	EXPECT_EQ(taken(), Payloads{"a"});
	EXPECT_EQ(reader.counters().lost_bytes, bad.size());
	EXPECT_EQ(reader.counters().gaps, 1u);
	EXPECT_EQ(notes, Payloads{"gap: 68 bytes skipped: byte 33: channel 77 does not exist"});
}

TEST_F(ReaderTest, bytes_that_the_kernel_did_not_count_are_a_gap_too)
{
	look_at(a + made_record(77, "x"));
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(a.size()));
	EXPECT_EQ(reader.counters().gaps, 1u);
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
}

TEST_F(ReaderTest, taken_bytes_that_change_mean_another_reader_and_nothing_new_is_missed)
{
	look_at(a);
	look_at(a);
	reader.take_agreed();
	taken();
	look_at(b + c);
	reader.take_agreed();
	EXPECT_EQ(taken(), Payloads());
	EXPECT_EQ(notes, Payloads{"gap: another reader handed the buffer back, records may be "
				  "missing"});
	look_at(b + c);
	reader.take_agreed();
	EXPECT_EQ(taken(), (Payloads{"bb", "ccc"}));
	EXPECT_EQ(reader.counters().gaps, 1u);
}

TEST_F(ReaderTest, taken_bytes_that_changed_before_a_notification_lose_nothing_of_it)
{
	look_at(a);
	look_at(a);
	reader.take_agreed();
	taken();
	look_at(b + c);
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(b.size() + c.size()));
	EXPECT_EQ(taken(), (Payloads{"bb", "ccc"}));
	EXPECT_EQ(reader.counters().gaps, 1u);
}

TEST_F(ReaderTest, records_and_bytes_are_counted_by_channel)
{
	look_at(a + a + c);
	reader.take_all();
	const Counters &counters = reader.counters();
	EXPECT_EQ(counters.records, 3u);
	EXPECT_EQ(counters.bytes, 2 * a.size() + c.size());
	EXPECT_EQ(counters.channels[ZEM_CHANNEL_TEST].records, 2u);
	EXPECT_EQ(counters.channels[ZEM_CHANNEL_TEST].bytes, 2 * a.size());
	EXPECT_EQ(counters.channels[ZEM_CHANNEL_GPU].records, 1u);
	EXPECT_EQ(counters.channels[ZEM_CHANNEL_WIFI].records, 0u);
}

TEST_F(ReaderTest, a_buffer_full_to_the_last_byte_is_walked_to_its_end)
{
	const ByteVector first = made_record(ZEM_CHANNEL_TEST, std::string(4000, 'x'));
	const ByteVector last = made_record(ZEM_CHANNEL_TEST, std::string(8192 - 4032 - 32, 'y'));
	look_at(first + last);
	reader.take_all();
	reader.handed_back(8192);
	EXPECT_EQ(taken().size(), 2u);
	EXPECT_EQ(reader.counters().gaps, 0u);
}

} // namespace zemctl
