// SPDX-License-Identifier: GPL-2.0
/*
 * Parsing of /proc/cgroup_metrics and /proc/morva_sched_healthinfo.
 */
#include "decode/health.h"

#include <gtest/gtest.h>

#include "failure_of.h"
#include "fake_proc.h"
#include "views/health_views.h"

namespace zemctl {

namespace {

HealthSums counted_from(unsigned long long first)
{
	HealthSums sums;
	for (auto &sum : sums)
		sum = first++;
	return sums;
}

void expect_counted_from(std::uint64_t first, const zem_cgroup &groups)
{
	constexpr const char *kNames[] = {"all", "root", "fg", "top", "bg", "sysbg", "svp"};
	for (std::size_t i = 0; i < ZEM_CGROUPS; i++) {
		EXPECT_STREQ(groups.entries[i].name, kNames[i]);
		EXPECT_EQ(groups.entries[i].lat, first + 3 * i);
		EXPECT_EQ(groups.entries[i].d_io, first + 3 * i + 1);
		EXPECT_EQ(groups.entries[i].d_nonio, first + 3 * i + 2);
	}
}

} // namespace

TEST(HealthTest, seven_lines_of_an_interval)
{
	const std::string text = health_interval(counted_from(1));
	ASSERT_EQ(text.substr(0, 18), "all 1 2 3\nroot 4 5");
	expect_counted_from(1, parse_health_interval(text));
}

TEST(HealthTest, the_largest_numbers_of_an_interval)
{
	HealthSums sums;
	sums.fill(UINT64_MAX);
	EXPECT_EQ(parse_health_interval(health_interval(sums)).entries[6].d_nonio, UINT64_MAX);
}

TEST(HealthTest, an_interval_that_is_not_understood)
{
	const std::string text = health_interval(counted_from(1));
	EXPECT_EQ(failure_of(parse_health_interval, ""), "ends before the line of \"all\"");
	EXPECT_EQ(failure_of(parse_health_interval, text.substr(0, text.find("svp"))),
		  "ends before the line of \"svp\"");
	EXPECT_EQ(failure_of(parse_health_interval, text + "more 1 2 3\n"),
		  "not understood: \"more 1 2 3\"");
	EXPECT_EQ(failure_of(parse_health_interval, "all 1 2\n"), "not understood: \"all 1 2\"");
	EXPECT_EQ(failure_of(parse_health_interval, "all 1 2 x\n"),
		  "not understood: \"all 1 2 x\"");
	EXPECT_EQ(failure_of(parse_health_interval, "root 1 2 3\n"),
		  "not understood: \"root 1 2 3\"");
}

TEST(HealthTest, the_sums_at_the_end_of_the_report)
{
	const std::string text = health_report({counted_from(1), counted_from(100)});
	const zem_cgroup groups = parse_health_sums(text);
	EXPECT_STREQ(groups.entries[0].name, "all");
	EXPECT_EQ(groups.entries[0].lat, 101u);
	EXPECT_EQ(groups.entries[0].d_io, 103u);
	EXPECT_EQ(groups.entries[6].d_nonio, 141u);
	expect_counted_from(9, parse_health_sums(health_report({counted_from(9)})));
}

TEST(HealthTest, sums_so_wide_that_no_padding_is_left)
{
	HealthSums sums;
	sums.fill(UINT64_MAX);
	const zem_cgroup groups = parse_health_sums(health_report({sums}));
	EXPECT_EQ(groups.entries[0].lat, UINT64_MAX);
	EXPECT_EQ(groups.entries[6].d_nonio, UINT64_MAX);
}

TEST(HealthTest, sums_that_are_not_understood)
{
	const std::string text = health_report({counted_from(1)});
	EXPECT_EQ(failure_of(parse_health_sums, ""), "the sums are missing");
	EXPECT_EQ(failure_of(parse_health_sums, text.substr(0, text.find("====="))),
		  "the sums are missing");
	EXPECT_EQ(failure_of(parse_health_sums, text.substr(0, text.rfind("total_d_nonio"))),
		  "not understood: \"total_lat:            1  total_d_io:            2  \"");
	std::string other = text;
	other.replace(other.rfind("fg_lat"), 6, "xx_lat");
	EXPECT_EQ(
		failure_of(parse_health_sums, other),
		"not understood: \"xx_lat:               7  fg_d_io:               8  fg_d_noni\"");
}

} // namespace zemctl
