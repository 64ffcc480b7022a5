// SPDX-License-Identifier: GPL-2.0
/*
 * Conversion of bytes of unknown origin to text or hex.
 */
#include "text/text.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zemctl {

namespace {

Bytes bytes(std::string_view text)
{
	return std::as_bytes(std::span(text.data(), text.size()));
}

/* Returns @code in UTF-8. */
std::string encoded(std::uint32_t code)
{
	const auto next = [code](unsigned int shift) {
		return static_cast<char>(0x80 | (code >> shift & 0x3f));
	};
	const auto first = [code](unsigned int mark, unsigned int shift) {
		return static_cast<char>(mark | code >> shift);
	};
	if (code < 0x80)
		return {static_cast<char>(code)};
	if (code < 0x800)
		return {first(0xc0, 6), next(0)};
	if (code < 0x10000)
		return {first(0xe0, 12), next(6), next(0)};
	return {first(0xf0, 18), next(12), next(6), next(0)};
}

/* A range of code points. */
struct Range {
	std::uint32_t first;
	std::uint32_t last;

	bool operator==(const Range &) const = default;
};

void PrintTo(const Range &range, std::ostream *out)
{
	*out << std::hex << range.first << '-' << range.last << std::dec;
}

} // namespace

TEST(TextTest, of_all_characters_these_make_it_data)
{
	std::vector<Range> data;
	for (std::uint32_t code = 0; code <= 0x10ffff; code++) {
		if (is_text(bytes(encoded(code))))
			continue;
		if (data.empty() || data.back().last + 1 != code)
			data.push_back({code, code});
		data.back().last = code;
	}
	const std::vector<Range> expected = {
		{0, 8}, /* control characters except the tab and the line ends */
		{0xb, 0xc},
		{0xe, 0x1f},
		{0x7f, 0x9f},
		{0xad, 0xad}, /* soft hyphen */
		{0x61c, 0x61c}, /* Arabic letter mark */
		{0x180e, 0x180e}, /* Mongolian vowel separator */
		{0x200b, 0x200f}, /* spaces and joiners without width, marks of direction */
		{0x2028, 0x202e}, /* separators of lines and paragraphs, embeddings, overrides */
		{0x2060, 0x2064}, /* word joiner, invisible operators */
		{0x2066, 0x206f}, /* isolates and other controls of direction */
		{0xd800, 0xdfff}, /* surrogates */
		{0xfeff, 0xfeff}, /* byte order mark */
		{0xfff9, 0xfffb}, /* interlinear annotations */
		{0x13430, 0x1343f}, /* controls of hieroglyphs, of shorthand and of music */
		{0x1bca0, 0x1bca3},
		{0x1d173, 0x1d17a},
		{0xe0001, 0xe0001}, /* tags */
		{0xe0020, 0xe007f},
	};
	EXPECT_EQ(data, expected);
}

TEST(TextTest, printable_utf8_is_text)
{
	EXPECT_TRUE(is_text(bytes("")));
	EXPECT_TRUE(is_text(bytes("plain\ttext\r\n")));
	EXPECT_TRUE(is_text(bytes("\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80")));
}

TEST(TextTest, control_characters_make_it_data)
{
	EXPECT_FALSE(is_text(bytes("\x1b[31m")));
	EXPECT_FALSE(is_text(bytes(std::string_view("a\0", 2))));
	EXPECT_FALSE(is_text(bytes("\x7f")));
	EXPECT_FALSE(is_text(bytes("\xc2\x9b"
				   "31m")))
		<< "the eight-bit control sequence introducer, spelt in UTF-8";
	EXPECT_FALSE(is_text(bytes("\xe2\x80\xae"))) << "right-to-left override";
}

TEST(TextTest, broken_utf8_is_data)
{
	for (const char *broken :
	     {"\x80", "\xc3", "\xc3(", "\xc0\xaf", "\xe0\x80\xaf", "\xed\xa0\x80",
	      "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\xff"})
		EXPECT_FALSE(is_text(bytes(broken))) << broken;
}

namespace {

std::string quoted(Bytes text, std::size_t limit)
{
	TextBuffer buffer;
	append_quoted(buffer, text, limit);
	return std::string(buffer.view());
}

std::string hex_preview(Bytes text, std::size_t limit)
{
	TextBuffer buffer;
	append_hex(buffer, text, limit);
	return std::string(buffer.view());
}

} // namespace

TEST(TextTest, quotes_escape_what_would_break_the_line)
{
	EXPECT_EQ(quoted(bytes("a\n\"b\"\\\t\r"), 60), R"("a\n\"b\"\\\t\r")");
}

TEST(TextTest, quotes_cut_at_whole_characters)
{
	EXPECT_EQ(quoted(bytes("\xc3\xa9\xc3\xa9\xc3\xa9"), 2), "\"\xc3\xa9\xc3\xa9\"...");
	EXPECT_EQ(quoted(bytes("abc"), 3), "\"abc\"");
}

TEST(TextTest, escapes_leave_one_line_of_printable_characters)
{
	EXPECT_EQ(escaped("binder:12_3 \xc3\xa9"), "binder:12_3 \xc3\xa9");
	EXPECT_EQ(escaped("a\n\x1b[31m\t\x7f"), R"(a\x0a\x1b[31m\x09\x7f)");
	EXPECT_EQ(escaped("cut\xe2\x82"), R"(cut\xe2\x82)");
	EXPECT_EQ(escaped("\xe2\x80\xae"), R"(\xe2\x80\xae)") << "right-to-left override";
	EXPECT_EQ(escaped(""), "");
}

TEST(TextTest, every_line_is_indented)
{
	EXPECT_EQ(indented("a\nb\n", "  "), "  a\n  b\n");
	EXPECT_EQ(indented("a", "  "), "  a");
	EXPECT_EQ(indented("\n", "  "), "  \n");
	EXPECT_EQ(indented("", "  "), "");
}

TEST(TextTest, hex_preview_groups_and_cuts)
{
	EXPECT_EQ(hex_preview(bytes("\x01\x02\x03\x04\x05"), 24), "01020304 05");
	EXPECT_EQ(hex_preview(bytes("\x01\x02\x03"), 2), "0102...");
}

TEST(TextTest, hex_dump_shows_offset_hex_and_characters)
{
	EXPECT_EQ(hex_dump(bytes("0123456789abcdef\x01z"), "  "),
		  "  0000  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66  |0123456789abcdef|\n"
		  "  0010  01 7a                                             |.z|\n");
	EXPECT_EQ(hex_dump({}, "  "), "");
}

} // namespace zemctl
