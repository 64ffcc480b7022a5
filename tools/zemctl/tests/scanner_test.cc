// SPDX-License-Identifier: GPL-2.0
/*
 * The scanner of the module's texts.
 */
#include "views/scanner.h"

#include <cstdint>
#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace zemctl {

namespace {

/* Returns the fault of @scan as "what @ rest". */
std::string missing_in(const std::function<void()> &scan)
{
	try {
		scan();
	} catch (const ScanFault &fault) {
		return fault.what + " @ " + std::string(fault.rest);
	}
	return "nothing";
}

} // namespace

TEST(ScannerTest, blanks_and_line_ends_before_a_piece_are_skipped)
{
	Scanner scanner(" a:\n\n 12b \n");
	unsigned int number = 0;
	scanner.word("a:").number(number).word("b");
	EXPECT_EQ(number, 12u);
	EXPECT_TRUE(scanner.is_at_end());
}

TEST(ScannerTest, kept_blanks_are_pieces)
{
	Scanner scanner("a 1 ", Scanner::Blanks::kKept);
	unsigned int number = 0;
	EXPECT_EQ(missing_in([&] { scanner.word("a").number(number); }),
		  "a number is missing @  1 ");
	scanner.word(" ").number(number);
	EXPECT_EQ(number, 1u);
	EXPECT_FALSE(scanner.is_at_end());
}

TEST(ScannerTest, a_missing_piece_is_named_with_its_place)
{
	unsigned int number = 0;
	EXPECT_EQ(missing_in([] { Scanner("a\nb").word("a").word("c"); }), "\"c\" is missing @ b");
	EXPECT_EQ(missing_in([&] { Scanner("-1").number(number); }), "a number is missing @ -1");
	EXPECT_EQ(missing_in([] { Scanner("sda 1\n: 2").label(); }),
		  "a label is missing @ sda 1\n: 2");
	char field[4];
	EXPECT_EQ(missing_in([&] { Scanner(" abc").name(field, "\nend"); }),
		  "a name has no end @ abc");
	EXPECT_EQ(number, 0u);
}

TEST(ScannerTest, a_counter_above_the_signed_range_is_read_as_printed)
{
	std::uint64_t wide = 0;
	std::uint32_t narrow = 0;
	std::uint32_t list[2] = {};
	Scanner("-1 -2 3, -4").counter(wide).counter(narrow).counters(list);
	EXPECT_EQ(wide, UINT64_MAX);
	EXPECT_EQ(narrow, UINT32_MAX - 1);
	EXPECT_EQ(list[0], 3u);
	EXPECT_EQ(list[1], UINT32_MAX - 3);
}

TEST(ScannerTest, a_name_ends_at_its_follower_and_fits_its_field)
{
	char field[4] = {};
	Scanner scanner("  a\nb\nend");
	scanner.name(field, "\nend");
	EXPECT_STREQ(field, " a\n") << "one blank belongs to the text";
	EXPECT_EQ(scanner.rest(), "\nend");
}

TEST(ScannerTest, a_line_is_skipped_with_its_end)
{
	Scanner scanner("a b\n\nc");
	EXPECT_EQ(scanner.word("a").skip_line().rest(), "\nc");
	EXPECT_EQ(scanner.skip_line().skip_line().rest(), "");
	EXPECT_EQ(scanner.skip_line().rest(), "");
}

TEST(ScannerTest, a_label_ends_at_its_colon)
{
	Scanner scanner("/dev/block/a:b: 1");
	EXPECT_EQ(scanner.label().rest(), " 1");
}

} // namespace zemctl
