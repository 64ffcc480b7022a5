// SPDX-License-Identifier: GPL-2.0
/*
 * Parsing of /proc/load_metrics/load_metrics with any names of tasks.
 */
#include "views/load_listing.h"

#include <gtest/gtest.h>

#include "failure_of.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

const std::string kHeader = load_header(5'000'000'000, 1'000'000'000, {20000, 0});

/* Parses a task between two others, and checks the others. */
LoadTask parsed(const char *comm, const char *pkg)
{
	const LoadReading reading = parse_load_listing(
		kHeader + load_line(1, 0, "before", 1, "first", 11, 12) +
		load_line(77, 1, comm, 76, pkg, 21, 22) + load_line(3, 0, "after", 3, "", 31, 32));
	EXPECT_EQ(reading.tasks.size(), 3u);
	EXPECT_EQ(reading.tasks.front().comm, "before");
	EXPECT_EQ(reading.tasks.front().pkg, "first");
	EXPECT_EQ(reading.tasks.back().comm, "after");
	EXPECT_EQ(reading.tasks.back().pkg, "");
	EXPECT_EQ(reading.tasks.back().combined, 32u);
	EXPECT_EQ(reading.tasks[1].pid, 77u);
	EXPECT_EQ(reading.tasks[1].tgid, 76);
	EXPECT_TRUE(reading.tasks[1].leader_flag);
	EXPECT_EQ(reading.tasks[1].usage, 21u);
	EXPECT_EQ(reading.tasks[1].combined, 22u);
	return reading.tasks[1];
}

} // namespace

TEST(LoadListingTest, header_and_tasks_as_the_kernel_prints_them)
{
	const std::string text = kHeader + load_line(1, 0, "init", 1, "", 22706, 45411);
	/* Checks the layout itself, so that the printer of this test keeps it. */
	ASSERT_EQ(text, "time: 5000000000 1000000000\n"
			"cpu:20000(44%) 0(0%) \n"
			"pid:1 0 comm:init ppid:1 pkg: 22706(50%) 45411(100%)\n");
	const LoadReading reading = parse_load_listing(text);
	EXPECT_EQ(reading.end, 5'000'000'000u);
	EXPECT_EQ(reading.window, 1'000'000'000u);
	EXPECT_EQ(reading.cpus, (std::vector<std::uint64_t>{20000, 0}));
	ASSERT_EQ(reading.tasks.size(), 1u);
	EXPECT_EQ(reading.tasks[0].pid, 1u);
	EXPECT_EQ(reading.tasks[0].tgid, 1);
	EXPECT_FALSE(reading.tasks[0].leader_flag);
	EXPECT_EQ(reading.tasks[0].comm, "init");
	EXPECT_EQ(reading.tasks[0].pkg, "");
	EXPECT_EQ(reading.tasks[0].usage, 22706u);
	EXPECT_EQ(reading.tasks[0].combined, 45411u);
}

TEST(LoadListingTest, a_window_of_no_length_has_no_cpus)
{
	const LoadReading reading = parse_load_listing("time: 7 0\ncpu:\n");
	EXPECT_EQ(reading.window, 0u);
	EXPECT_TRUE(reading.cpus.empty());
	EXPECT_TRUE(reading.tasks.empty());
}

TEST(LoadListingTest, the_largest_numbers)
{
	const LoadReading reading = parse_load_listing(
		"time: 18446744073709551615 18446744073709551615\n"
		"cpu:18446744073709551615(406217526011529%) \n"
		"pid:2147483647 0 comm:a ppid:-1 pkg:p 18446744073709551615(18446744073709551615%) "
		"18446744073709551615(18446744073709551615%)\n");
	EXPECT_EQ(reading.window, UINT64_MAX);
	EXPECT_EQ(reading.cpus[0], UINT64_MAX);
	EXPECT_EQ(reading.tasks[0].pid, 2147483647u);
	EXPECT_EQ(reading.tasks[0].tgid, -1);
	EXPECT_EQ(reading.tasks[0].usage, UINT64_MAX);
	EXPECT_EQ(reading.tasks[0].combined, UINT64_MAX);
}

TEST(LoadListingTest, names_of_any_characters)
{
	for (const char *comm : {"", " ", "Render Thread", "kworker/0:1", "a ppid:5",
				 " ppid:1 pkg:", " ppid: ppid:1", "pid:9 0 comm:x", "1(1%) 2(2%)",
				 "two\nlines", "x 1(1%) 1(1%)\n", "\n\n\n", "fifteen letters"}) {
		const LoadTask task = parsed(comm, "com.example.app");
		EXPECT_EQ(task.comm, comm);
		EXPECT_EQ(task.pkg, "com.example.app");
	}
}

TEST(LoadListingTest, packages_of_any_characters)
{
	for (const char *pkg : {"", " ", "two words", "a pkg:b", "1(1%)", "a\nb", " 1(1%) 2(2%)",
				"com.example.app:remote", "thirty-one letters and no more!"}) {
		const LoadTask task = parsed("fifteen letters", pkg);
		EXPECT_EQ(task.comm, "fifteen letters");
		EXPECT_EQ(task.pkg, pkg);
	}
}

TEST(LoadListingTest, what_is_not_understood_is_quoted)
{
	EXPECT_EQ(failure_of(parse_load_listing, ""), "not understood: \"\"");
	EXPECT_EQ(failure_of(parse_load_listing, "time: 1\ncpu:\n"), "not understood: \"time: 1\"");
	EXPECT_EQ(failure_of(parse_load_listing, "time: 1 -2\ncpu:\n"),
		  "not understood: \"time: 1 -2\"");
	EXPECT_EQ(failure_of(parse_load_listing, "time: 1 2\n"), "not understood: \"\"");
	EXPECT_EQ(failure_of(parse_load_listing, "time: 1 2\ncpu:5(1%) x\n"),
		  "not understood: \"cpu:5(1%) x\"");
	EXPECT_EQ(failure_of(parse_load_listing, "time: 1 2\ncpu:5(%) \n"),
		  "not understood: \"cpu:5(%) \"");
	EXPECT_EQ(failure_of(parse_load_listing, "time: 1 2\ncpu:18446744073709551616(0%) \n"),
		  "not understood: \"cpu:18446744073709551616(0%) \"");
	for (const char *line : {
		     "pid:",
		     "pid:x 0 comm:a ppid:1 pkg: 1(1%) 1(1%)",
		     "pid:1 comm:a ppid:1 pkg: 1(1%) 1(1%)",
		     "pid:1 0 comm:a pkg: 1(1%) 1(1%)",
		     "pid:1 0 comm:a ppid:x pkg: 1(1%) 1(1%)",
		     "pid:1 0 comm:sixteen letters! ppid:1 pkg: 1(1%) 1(1%)",
		     "pid:1 0 comm:a ppid:1 1(1%) 1(1%)",
		     "pid:1 0 comm:a ppid:1 pkg: 1(1%)",
		     "pid:1 0 comm:a ppid:1 pkg: 1(1%) 1",
		     "pid:1 0 comm:a ppid:1 pkg: 1(1%) -1(1%)",
	     }) {
		const std::string quoted = std::string(line).substr(0, 60);
		EXPECT_EQ(failure_of(parse_load_listing, kHeader + line + "\n"),
			  "not understood: \"" + quoted + "\"");
	}
}

TEST(LoadListingTest, a_text_that_ends_in_a_line_is_not_understood)
{
	const std::string whole = kHeader + load_line(5, 0, "a", 5, "p", 1, 1);
	ASSERT_EQ(failure_of(parse_load_listing, whole), "none");
	for (std::size_t size = kHeader.size() + 1; size < whole.size(); size++)
		EXPECT_NE(failure_of(parse_load_listing, whole.substr(0, size)), "none")
			<< whole.substr(0, size);
}

} // namespace zemctl
