// SPDX-License-Identifier: GPL-2.0
/* Parsing and formatting. */
#include "kernel/api/parse.h"
#include "kernel/api/slab.h"
#include "kernel/api/string.h"
#include "kernel/api/sysfs.h"
#include "kernel/errno.h"
#include "cases.h"
#include "parity.h"

namespace parity {

namespace {

constexpr int kPage = 4096;

/* A page of a show function, which the kernel wants aligned. */
class TextPage {
public:
	TextPage() : page_(static_cast<char *>(helper_kzalloc(kPage))) {}
	TextPage(const TextPage &) = delete;
	TextPage &operator=(const TextPage &) = delete;
	~TextPage() { kfree(page_); }

	char *get() { return page_; }

private:
	char *page_;
};

} /* namespace */

void sscanf_skips_spaces_and_ignores_what_follows()
{
	int value = 0;
	int second = 0;
	EXPECT_SAME(sscanf(" \t-12x", "%d", &value), 1);
	EXPECT_SAME(value, -12);
	EXPECT_SAME(sscanf("+1", "%d", &value), 0);
	EXPECT_SAME(sscanf("", "%d", &value), 0);
	EXPECT_SAME(sscanf("- 1", "%d", &value), 0);
	EXPECT_SAME(value, -12);
	EXPECT_SAME(sscanf("3 4", "%d %d", &value, &second), 2);
	EXPECT_SAME(value, 3);
	EXPECT_SAME(second, 4);
}

void sscanf_wraps_a_number_that_is_too_large()
{
	int value = 0;
	EXPECT_SAME(sscanf("4294967295", "%d", &value), 1);
	EXPECT_SAME(value, -1);
	EXPECT_SAME(sscanf("4294967298", "%d", &value), 1);
	EXPECT_SAME(value, 2);
}

void kstrtoint_accepts_one_newline_and_nothing_else()
{
	int value = 5;
	static constexpr const char *kRefused[] = {"",	"\n", " 1",  "1 ",  "1\n\n",
						   "+", "-",  "+-1", "-+1", "1x"};
	for (const char *text : kRefused)
		EXPECT_SAME(kstrtoint(text, 10, &value), -EINVAL);
	EXPECT_SAME(value, 5);
	EXPECT_SAME(kstrtoint("-7\n", 10, &value), 0);
	EXPECT_SAME(value, -7);
}

void kstrtoint_knows_the_bounds()
{
	constexpr int kOutOfRange = -34;
	int value = 5;
	EXPECT_SAME(kstrtoint("2147483648", 10, &value), kOutOfRange);
	EXPECT_SAME(kstrtoint("-2147483649", 10, &value), kOutOfRange);
	EXPECT_SAME(kstrtoint("99999999999999999999", 10, &value), kOutOfRange);
	EXPECT_SAME(value, 5);
	EXPECT_SAME(kstrtoint("+2147483647\n", 10, &value), 0);
	EXPECT_SAME(value, 2147483647);
	EXPECT_SAME(kstrtoint("-2147483648", 10, &value), 0);
	EXPECT_SAME(value, -2147483647 - 1);
}

void kstrtoll_knows_the_bounds()
{
	constexpr int kOutOfRange = -34;
	long long value = 5;
	EXPECT_SAME(kstrtoll("9223372036854775808", 10, &value), kOutOfRange);
	EXPECT_SAME(kstrtoll("-9223372036854775809", 10, &value), kOutOfRange);
	EXPECT_SAME(kstrtoll("1-2", 10, &value), -EINVAL);
	EXPECT_SAME(value, 5);
	EXPECT_SAME(kstrtoll("9223372036854775807", 10, &value), 0);
	EXPECT_SAME(value, 9223372036854775807);
	EXPECT_SAME(kstrtoll("-1\n", 10, &value), 0);
	EXPECT_SAME(value, -1);
}

void snprintf_returns_the_length_of_the_whole_text()
{
	char text[8];
	EXPECT_SAME(snprintf(text, sizeof(text), "%s-%d", "foreground", 12), 13);
	EXPECT_SAME_TEXT(text, "foregro");
	EXPECT_SAME(snprintf(text, sizeof(text), "%llu", ~0ull), 20);
	EXPECT_SAME_TEXT(text, "1844674");
}

void sysfs_emit_at_formats_as_the_views_need()
{
	TextPage page;
	int size = sysfs_emit_at(page.get(), 0, "[%-16lu|%-13lu|%lu]", 1ul, 23ul, ~0ul);
	size += sysfs_emit_at(page.get(), size, "[%16llu|%12llu|%lld]", 456ull, 7ull, -8ll);
	size += sysfs_emit_at(page.get(), size, "[%-8u|%16u|%-12d|%25d|%2d]", 1u, 2u, -3, -4, 567);
	size += sysfs_emit_at(page.get(), size, "[%16s|%7s|%c|%s]", "name", "too wide", 'x', "");
	EXPECT_SAME_TEXT(page.get(),
			 "[1               |23           |18446744073709551615]"
			 "[             456|           7|-8]"
			 "[1       |               2|-3          |                       -4|567]"
			 "[            name|too wide|x|]");
	EXPECT_SAME(size, 187);
}

void sysfs_emit_at_cuts_text_at_the_end_of_the_page()
{
	TextPage page;
	EXPECT_SAME(sysfs_emit_at(page.get(), kPage - 6, "%s", "0123456789"), 5);
	EXPECT_SAME_TEXT(page.get() + kPage - 6, "01234");
	EXPECT_SAME(sysfs_emit_at(page.get(), kPage - 1, "%s", "x"), 0);
}

} /* namespace parity */
