// SPDX-License-Identifier: GPL-2.0
/*
 * Commands that measure repeatedly.
 */
#include <chrono>
#include <cstring>

#include <nlohmann/json.hpp>

#include "command_fixture.h"
#include "commands/interval.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

constexpr const char *kLoadView = "proc/load_metrics/load_metrics";
constexpr const char *kSvpView = "proc/svp_metrics/svp_metrics";

} // namespace

class IntervalTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		put("proc/load_metrics/load_metrics_enabled", "1\n");
		put(kLoadView, load_header(9, 1'000'000'000, {7}));
		put("proc/morva_sched_healthinfo/sched_healthinfo_enable", "1\n");
		put("proc/cgroup_metrics/cgroup_metrics", health_interval({}));
	}
};

TEST_F(IntervalTest, load_measures_as_often_as_asked)
{
	const Result result = run("load 0.001 3 --json");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(objects_of(result.out).size(), 3u);
	EXPECT_EQ(objects_of(run("load --seconds 0.001 --json").out).size(), 1u);
}

TEST_F(IntervalTest, a_signal_ends_the_last_interval_early)
{
	const Result result = shell("$zemctl load 1000 & pid=$!\n"
				    "until grep -q ^zemctl /proc/$pid/comm &&\n"
				    "	grep -q '^SigCgt:.*[2367abef]$' /proc/$pid/status\n"
				    "do sleep 0.02; done\n"
				    "kill -INT $pid; wait $pid");
	EXPECT_EQ(result.out.find("in 1.0 s\n"), 0u) << result.out;
	EXPECT_EQ(result.status, 0);
}

TEST_F(IntervalTest, without_a_count_only_a_signal_or_the_end_of_its_reader_ends_it)
{
	const Result result = shell("$zemctl load 0.001 --json | head -n 5");
	EXPECT_EQ(objects_of(result.out).size(), 5u);
	EXPECT_EQ(result.err, "");
}

TEST_F(IntervalTest, health_measures_as_often_as_asked)
{
	const auto objects = objects_of(run("health 0.002 2 --json").out);
	ASSERT_EQ(objects.size(), 2u);
	/* On a busy machine the first one may end late, and then the second one is shorter. */
	EXPECT_GE(objects[0]["interval_ns"].get<std::uint64_t>() +
			  objects[1]["interval_ns"].get<std::uint64_t>(),
		  3'999'000u);
	EXPECT_EQ(run("health 1 --total").status, 2);
}

TEST_F(IntervalTest, svp_drops_what_is_older_than_the_first_interval)
{
	zem_svp task = {};
	task.pid = 7;
	std::strcpy(task.thread_name, "early");
	put(kSvpView, svp_text(task));
	const std::string file = kSvpView;
	/* SIGINT ends the interval, once the view has its later text. */
	const Result result = shell("mv " + file +
				    " early; sed s/early/later/ early >later\n"
				    "mkfifo " +
				    file +
				    "; $zemctl svp --seconds 1000 --json & pid=$!\n"
				    "cat early >" +
				    file + "; mv later " + file +
				    "\n"
				    "until grep -q '^SigCgt:.*[2367abef]$' /proc/$pid/status; do\n"
				    "	sleep 0.02\n"
				    "done\n"
				    "kill -INT $pid; wait $pid");
	EXPECT_EQ(result.err, "");
	const auto objects = objects_of(result.out);
	ASSERT_EQ(objects.size(), 1u);
	EXPECT_NE(result.out.find("later"), std::string::npos);
	EXPECT_EQ(result.out.find("early"), std::string::npos);
}

TEST_F(IntervalTest, one_measurement_and_repeated_ones_exclude_each_other)
{
	EXPECT_EQ(run("load --seconds 1 1").status, 2);
	EXPECT_EQ(run("load 1 --seconds 1").status, 2);
	EXPECT_EQ(run("load x").status, 2);
}

TEST(Intervals, end_at_multiples_of_their_length)
{
	const auto start = std::chrono::steady_clock::now();
	Intervals intervals({.each = 0.01, .count = 3});
	int waits = 0;
	while (intervals.wait())
		waits++;
	EXPECT_EQ(waits, 3);
	EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
	EXPECT_FALSE(intervals.wait());
}

TEST(Intervals, the_length_is_the_time_since_the_end_before)
{
	const auto start = std::chrono::steady_clock::now();
	Intervals intervals({.each = 0.05});
	ASSERT_TRUE(intervals.wait());
	const Seconds first = intervals.length();
	EXPECT_GE(first, Seconds(0.05));
	ASSERT_TRUE(intervals.wait());
	EXPECT_LE(first + intervals.length(), std::chrono::steady_clock::now() - start);
}

} // namespace zemctl
