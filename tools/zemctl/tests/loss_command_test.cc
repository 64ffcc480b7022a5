// SPDX-License-Identifier: GPL-2.0
/*
 * status, watch, record and dump report the records that the kernel lost before they reached the
 * shared buffer.
 */
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"

namespace zemctl {

namespace {

class LossCommandTest : public CommandTest {
protected:
	/* Runs @command, and @change when the file "shown" is not empty: then @command has begun.
	 */
	Result run_while(const std::string &command, const std::string &change) const
	{
		return shell("rm -f shown; " + command + " & pid=$!\n" +
			     "until [ -s shown ]; do sleep 0.02; done\n" + change +
			     "\nkill -INT $pid; wait $pid");
	}
	Result watch_while(const std::string &options, const std::string &change) const
	{
		return run_while("$zemctl watch " + options + " >shown", change);
	}
};

constexpr std::string_view kOverwrites = "echo 5 >module/counters/records_overwritten";

} // namespace

TEST_F(LossCommandTest, status_has_the_counters)
{
	count("records_pushed", 100'000);
	count("records_overwritten", 20'000'000'000);
	count("records_dropped", 2);
	count("notify_timeouts", 3);
	count("empty_passes", 44);
	count("uids_refused", 5);
	count("svp_tasks_refused", 6);
	const Result result = run("status");
	EXPECT_NE(result.out.find("pushed       100000 records\n"
				  "lost         20000000002 records: 20000000000 overwritten, "
				  "0 refused, 0 too large, 2 dropped\n"
				  "unanswered   3 notifications\n"
				  "empty passes 44\n"
				  "turned away  5 UIDs, 6 SVP tasks\n"),
		  std::string::npos)
		<< result.out;
	const auto counters = nlohmann::json::parse(run("status --json").out)["counters"];
	EXPECT_EQ(counters, nlohmann::json::parse(R"({"records_pushed":100000,
		"records_overwritten":20000000000,"records_refused":0,"records_too_large":0,
		"records_dropped":2,"notify_timeouts":3,"empty_passes":44,"uids_refused":5,
		"svp_tasks_refused":6})"));
}

TEST_F(LossCommandTest, status_does_not_take_a_module_that_does_not_count_for_one_without_loss)
{
	fs::remove_all(root / "module");
	const Result result = run("status");
	EXPECT_NE(result.out.find("pushed       unknown records\n"
				  "lost         unknown: ? overwritten, ? refused, ? too large, "
				  "? dropped\n"
				  "unanswered   unknown notifications\n"
				  "empty passes unknown\n"
				  "turned away  unknown UIDs, unknown SVP tasks\n"),
		  std::string::npos)
		<< result.out;
	const auto counters = nlohmann::json::parse(run("status --json").out)["counters"];
	EXPECT_EQ(counters.size(), kModuleCounters.size());
	for (const auto &counter : counters)
		EXPECT_TRUE(counter.is_null());
}

TEST_F(LossCommandTest, a_loss_in_the_kernel_is_reported_and_fails_only_when_strict)
{
	const Result result = watch_while("", std::string(kOverwrites));
	EXPECT_EQ(result.status, 0);
	EXPECT_NE(result.err.find("zemctl: records lost in the kernel so far: 5 overwritten, "
				  "0 refused, 0 too large, 0 dropped\n"),
		  std::string::npos)
		<< result.err;
	EXPECT_NE(result.err.find("the records are not complete: 5 records lost in the kernel\n"),
		  std::string::npos)
		<< result.err;
	for (const std::string_view file : kModuleCounters)
		count(file, 0);
	EXPECT_EQ(watch_while("--strict", std::string(kOverwrites)).status, 1);
}

TEST_F(LossCommandTest, strict_fails_wherever_the_loss_was)
{
	for (const char *file :
	     {"records_overwritten", "records_refused", "records_too_large", "records_dropped"}) {
		const std::string change = std::string("echo 1 >module/counters/") + file;
		EXPECT_EQ(watch_while("--strict", change).status, 1) << file;
		EXPECT_EQ(run_while("$zemctl record --strict -o shown",
				    std::string("echo 2 >module/counters/") + file)
				  .status,
			  1)
			<< file;
	}
}

TEST_F(LossCommandTest, strict_passes_without_a_loss_of_this_run)
{
	count("records_overwritten", 7);
	EXPECT_EQ(watch_while("--strict", "echo 9 >module/counters/records_pushed\n"
					  "echo 9 >module/counters/notify_timeouts")
			  .status,
		  0);
}

TEST_F(LossCommandTest, strict_fails_where_the_loss_cannot_be_known)
{
	fs::remove(root / "module/counters/records_refused");
	const Result result = run("watch --seconds 0.1 --strict");
	EXPECT_EQ(result.status, 1);
	EXPECT_NE(result.err.find(
			  "the kernel's losses are not known: module/counters does not have "
			  "all counters\n"),
		  std::string::npos)
		<< result.err;
	EXPECT_EQ(run("watch --seconds 0.1").status, 0);
	count("records_refused", 3);
	EXPECT_EQ(watch_while("--strict", "echo 1 >module/counters/records_refused").status, 1)
		<< "the counters started over";
}

TEST_F(LossCommandTest, a_capture_has_a_mark_where_the_kernel_lost_records)
{
	show_records(made_record(ZEM_CHANNEL_TEST, "hello", 1'700'000'000'000'000'000));
	EXPECT_EQ(run_while("$zemctl record -o shown", std::string(kOverwrites)).status, 0);
	EXPECT_EQ(run("dump shown").err, "zemctl: gap: 5 records were lost in the kernel\n");
}

} // namespace zemctl
