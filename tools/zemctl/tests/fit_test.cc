// SPDX-License-Identifier: GPL-2.0
/*
 * Lines that are fitted to the columns of a terminal.
 */
#include "text/fit.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace zemctl {

namespace {

std::string fitted(std::string_view lines, std::size_t columns)
{
	TextBuffer out;
	append_fitted(out, lines, columns);
	return std::string(out.view());
}

class FitTest : public testing::Test {
protected:
	void SetUp() override { ::setenv("LC_ALL", "C.UTF-8", 1); }
	void TearDown() override { ::unsetenv("LC_ALL"); }
};

} // namespace

TEST_F(FitTest, a_line_of_the_terminals_width_is_whole)
{
	EXPECT_EQ(fitted("12345678", 8), "12345678");
	EXPECT_EQ(fitted("123456789", 8), "1234567…");
	EXPECT_EQ(fitted("", 8), "");
}

TEST_F(FitTest, each_line_is_cut_and_keeps_its_end)
{
	EXPECT_EQ(fitted("abcdef\nab\n\nabcde\n", 4), "abc…\nab\n\nabc…\n");
}

TEST_F(FitTest, characters_may_take_no_column_or_two)
{
	EXPECT_EQ(columns_of("e\u0301"), 1u) << "an accent above the e";
	EXPECT_EQ(columns_of("日本"), 4u);
	EXPECT_EQ(fitted("日本語", 6), "日本語");
	EXPECT_EQ(fitted("日本語", 5), "日本…");
	EXPECT_EQ(fitted("日本語", 4), "日…") << "half a character is not shown";
	EXPECT_EQ(columns_of("\xff\xc3"), 2u) << "bytes that are no UTF-8";
}

TEST_F(FitTest, colours_take_no_column_and_end)
{
	EXPECT_EQ(columns_of("\x1b[31mred\x1b[0m"), 3u);
	EXPECT_EQ(fitted("\x1b[31mred\x1b[0m", 3), "\x1b[31mred\x1b[0m");
	EXPECT_EQ(fitted("\x1b[31mcolour\x1b[0m of red", 4), "\x1b[31mcol…\x1b[0m");
	EXPECT_EQ(columns_of("\x1b["), 0u) << "a sequence without an end";
}

TEST_F(FitTest, without_UTF_8_the_ellipsis_is_ASCII)
{
	::setenv("LC_ALL", "C", 1);
	EXPECT_EQ(fitted("123456", 4), "123>");
}

} // namespace zemctl
