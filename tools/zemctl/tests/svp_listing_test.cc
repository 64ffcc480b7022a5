// SPDX-License-Identifier: GPL-2.0
/*
 * Parsing of /proc/svp_metrics/svp_metrics.
 */
#include "views/svp_listing.h"

#include <cstring>

#include <gtest/gtest.h>

#include "failure_of.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

/* Every field has a different number. The fields that the text does not show are 0. */
zem_svp made_task(std::uint32_t seed, const char *thread, const char *package)
{
	zem_svp task = {};
	std::uint32_t words[sizeof(task.stats) / sizeof(std::uint32_t)];
	for (std::uint32_t i = 0; i < std::size(words); i++)
		words[i] = seed + i * 0x01010101;
	std::memcpy(&task.stats, words, sizeof(words));
	task.stats.reserved0 = task.stats.reserved1 = task.stats.reserved2 = 0;
	task.stats.reserved3 = task.stats.reserved4 = task.stats.reserved5 = 0;
	task.tgid = static_cast<int>(seed);
	task.pid = static_cast<int>(seed) + 1;
	std::strcpy(task.thread_name, thread);
	std::strcpy(task.package_name, package);
	return task;
}

bool is_same(const zem_svp &left, const zem_svp &right)
{
	return std::memcmp(&left, &right, sizeof(left)) == 0;
}

} // namespace

TEST(SvpListingTest, every_number_is_parsed)
{
	const zem_svp first = made_task(100, "RenderThread", "com.example.app");
	const zem_svp second = made_task(0xfffffff0, "binder:12_3", "");
	const auto tasks = parse_svp_listing(svp_text(first) + svp_text(second));
	ASSERT_EQ(tasks.size(), 2u);
	EXPECT_TRUE(is_same(tasks[0], first));
	EXPECT_TRUE(is_same(tasks[1], second)) << "counters above the signed range";
}

TEST(SvpListingTest, no_task_is_no_text)
{
	EXPECT_TRUE(parse_svp_listing("").empty());
}

TEST(SvpListingTest, a_task_may_be_called_anything)
{
	for (const char *name : {"", " ", "two words", "pid: 7", "line\nend", "a\n\nb: 1, 2"}) {
		const zem_svp task = made_task(5, name, name);
		const auto tasks = parse_svp_listing(svp_text(task) + svp_text(task));
		ASSERT_EQ(tasks.size(), 2u) << name;
		EXPECT_TRUE(is_same(tasks[0], task)) << name;
		EXPECT_TRUE(is_same(tasks[1], task)) << name;
	}
}

TEST(SvpListingTest, a_name_that_is_too_long_is_cut)
{
	std::string text = svp_text(made_task(5, "short", "short"));
	text.replace(text.find("short"), 5, std::string(100, 'x'));
	EXPECT_EQ(parse_svp_listing(text)[0].thread_name, std::string(15, 'x'));
}

TEST(SvpListingTest, a_text_that_is_cut_off_anywhere_is_refused)
{
	const std::string text = svp_text(made_task(5, "thread", "package"));
	const std::size_t last_number = text.find_last_of(' ') + 1;
	for (std::size_t size = 1; size <= last_number; size++)
		EXPECT_NE(failure_of(parse_svp_listing, std::string_view(text).substr(0, size)),
			  "none")
			<< size;
	EXPECT_EQ(failure_of(parse_svp_listing, text), "none");
}

TEST(SvpListingTest, a_fault_is_reported_with_its_line)
{
	EXPECT_EQ(failure_of(parse_svp_listing, "something else\n"),
		  "line 1: \"---------------- svp common info ----------------\" is missing");
	std::string text = svp_text(made_task(5, "thread", "package"));
	text.replace(text.find("runtime_total: ") + 15, 1, "x");
	EXPECT_EQ(failure_of(parse_svp_listing, text), "line 9: a number is missing");
}

} // namespace zemctl
