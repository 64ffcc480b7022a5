// SPDX-License-Identifier: GPL-2.0
/*
 * Damage at random places of captures with 10,000 records: cuts, flipped bytes, zeros. Exactly the
 * records of undamaged blocks are read, and the damage is noticed.
 */
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "commands/completeness.h"
#include "failure_of.h"

namespace zemctl {

namespace {

constexpr std::uint32_t kRecords = 10'000;

/* A record's train number is its index. Its payload depends on it. */
ByteVector numbered_record(std::uint32_t index)
{
	zem_record_header header = made_header(static_cast<std::uint8_t>(index % ZEM_CHANNEL_COUNT),
					       4 + index % 20, index);
	header.train_number = index;
	return made_record(header, std::string(header.len, static_cast<char>('a' + index % 26)));
}

bool is_numbered_record(const Record &record)
{
	const std::uint32_t index = record.header.train_number;
	const char letter = static_cast<char>('a' + index % 26);
	return index < kRecords && record.header.channel == index % ZEM_CHANNEL_COUNT &&
	       record.header.len == 4 + index % 20 && record.header.timestamp == index &&
	       std::ranges::all_of(
		       record.payload(),
		       [letter](std::byte byte) { return byte == static_cast<std::byte>(letter); });
}

struct Extent {
	std::size_t begin;
	std::size_t end;
	std::uint32_t first_record;
	std::uint32_t end_record;
};

struct WholeCapture {
	ByteVector bytes;
	std::vector<Extent> blocks; /* and the header of the file */
};

WholeCapture make_capture(BlockCompression compression, std::uint32_t seed)
{
	std::mt19937 random(seed);
	CaptureInMemory capture(compression);
	for (std::uint32_t i = 0; i < kRecords; i++) {
		capture.writer.write(as_record(numbered_record(i)));
		if (random() % 50 == 0)
			capture.writer.end_block();
	}
	capture.writer.finish();

	WholeCapture whole = {capture.content(), {{0, sizeof(CaptureHeader), 0, 0}}};
	for (std::size_t at = sizeof(CaptureHeader); at < whole.bytes.size();) {
		BlockHeader header;
		std::memcpy(&header, whole.bytes.data() + at, sizeof(header));
		const auto first = static_cast<std::uint32_t>(header.records_before);
		const std::size_t end = at + sizeof(header) + header.stored_size;
		whole.blocks.push_back({at, end, first, first + header.records});
		at = end;
	}
	return whole;
}

struct Damage {
	ByteVector bytes;
	std::size_t begin; /* in the whole capture */
	std::size_t end;
	std::string what;
};

/* Most stretches are short. Some have many blocks. */
Damage make_damage(const ByteVector &whole, std::mt19937 &random)
{
	const std::size_t begin = random() % whole.size();
	const std::size_t length = 1 + random() % (std::size_t{1} << (random() % 17));
	Damage damage = {whole, begin, std::min(whole.size(), begin + length), ""};
	const auto from = damage.bytes.begin() + static_cast<long>(damage.begin);
	const auto to = damage.bytes.begin() + static_cast<long>(damage.end);
	switch (random() % 4) {
	case 0:
		damage.what = "flipped";
		*from ^= static_cast<std::byte>(1 + random() % 255);
		damage.end = damage.begin + 1;
		break;
	case 1:
		damage.what = "zeros";
		std::fill(from, to, std::byte{0});
		break;
	case 2:
		damage.what = "cut out";
		damage.bytes.erase(from, to);
		break;
	case 3:
		damage.what = "cut off";
		damage.bytes.erase(from, damage.bytes.end());
		damage.end = whole.size();
		break;
	}
	damage.what += " " + std::to_string(damage.begin) + "-" + std::to_string(damage.end);
	return damage;
}

/* Zeros that were there before are no damage. */
bool is_damaged(const Extent &block, const WholeCapture &whole, const Damage &damage)
{
	const std::size_t begin = std::max(block.begin, damage.begin);
	const std::size_t end = std::min(block.end, damage.end);
	return begin < end && (damage.bytes.size() != whole.bytes.size() ||
			       !std::equal(whole.bytes.begin() + static_cast<long>(begin),
					   whole.bytes.begin() + static_cast<long>(end),
					   damage.bytes.begin() + static_cast<long>(begin)));
}

std::vector<std::uint32_t> survivors(const WholeCapture &whole, const Damage &damage)
{
	std::vector<std::uint32_t> indices;
	for (const Extent &block : whole.blocks)
		if (!is_damaged(block, whole, damage))
			for (std::uint32_t i = block.first_record; i < block.end_record; i++)
				indices.push_back(i);
	return indices;
}

struct Outcome {
	std::vector<std::uint32_t> records;
	bool all_intact = true;
	bool is_complete = false;
	/* Of the stretches whose number of records is known. */
	std::uint64_t missing = 0;
};

Outcome read_damaged(const ByteVector &bytes)
{
	Outcome outcome;
	const TemporaryFile file(bytes);
	CaptureReader reader(file.fd(), "some.zem");
	CompletenessCheck check("some.zem");
	while (const auto item = reader.next()) {
		if (const Record *record = std::get_if<Record>(&*item)) {
			outcome.records.push_back(record->header.train_number);
			outcome.all_intact = outcome.all_intact && is_numbered_record(*record);
		} else if (const Mark *mark = std::get_if<Mark>(&*item)) {
			check.note(*mark);
		} else {
			outcome.missing += std::get<Skip>(*item).records.value_or(0);
			check.note(std::get<Skip>(*item));
		}
	}
	check.note_end(reader);
	outcome.is_complete = check.is_complete();
	return outcome;
}

void damage_repeatedly(BlockCompression compression, int times, std::uint32_t seed)
{
	const WholeCapture whole = make_capture(compression, seed);
	ASSERT_GT(whole.blocks.size(), 100u);
	std::mt19937 random(seed);
	for (int i = 0; i < times; i++) {
		const Damage damage = make_damage(whole.bytes, random);
		SCOPED_TRACE(damage.what);
		const std::vector<std::uint32_t> expected = survivors(whole, damage);
		Outcome outcome;
		const std::string failure =
			failure_of([&] { outcome = read_damaged(damage.bytes); });
		if (failure != "none") {
			EXPECT_TRUE(expected.empty()) << failure;
			continue;
		}
		EXPECT_TRUE(outcome.records == expected)
			<< outcome.records.size() << " records, not " << expected.size();
		EXPECT_TRUE(outcome.all_intact);
		EXPECT_EQ(outcome.is_complete, damage.bytes == whole.bytes);
		/* Those at the end of the file are not counted. */
		if (!expected.empty() && expected.back() == kRecords - 1) {
			EXPECT_EQ(outcome.missing, kRecords - expected.size());
		}
	}
}

} // namespace

TEST(CaptureDamageTest, an_undamaged_capture_is_complete)
{
	const WholeCapture whole = make_capture(BlockCompression::kNone, 1);
	const Outcome outcome = read_damaged(whole.bytes);
	EXPECT_EQ(outcome.records.size(), kRecords);
	EXPECT_TRUE(outcome.all_intact);
	EXPECT_TRUE(outcome.is_complete);
}

TEST(CaptureDamageTest, seven_hundred_random_damages_cost_only_the_blocks_that_they_hit)
{
	damage_repeatedly(BlockCompression::kNone, 700, 4711);
}

TEST(CaptureDamageTest, three_hundred_random_damages_of_compressed_blocks_cost_only_these)
{
	damage_repeatedly(BlockCompression::kZstd, 300, 815);
}

} // namespace zemctl
