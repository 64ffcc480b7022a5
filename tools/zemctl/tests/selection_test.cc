// SPDX-License-Identifier: GPL-2.0
/*
 * The options of watch and dump that select records and determine their form.
 */
#include "command_fixture.h"
#include "text/pattern.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kTime = 1'700'000'000'000'000'000; /* 2023-11-14 22:13:20 UTC */

ByteVector load_of(std::uint32_t pid, const char *comm)
{
	zem_load load = {};
	load.pid = pid;
	load.ppid = static_cast<std::int32_t>(pid);
	std::strcpy(load.comm, comm);
	return made_record(ZEM_CHANNEL_LOAD,
			   std::string_view(reinterpret_cast<const char *>(&load), sizeof(load)),
			   kTime + pid);
}

} // namespace

class SelectionTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		show_records(load_of(10, "init") + load_of(20, "surface [x]") +
			     made_record(ZEM_CHANNEL_TEST, "hello", kTime + 30));
		ASSERT_EQ(run("record -o capture --records 3").status, 0);
	}

	/* Returns the channels of the records that dump shows. */
	std::string dumped(const std::string &arguments) const
	{
		const Result result =
			shell("$zemctl dump capture " + arguments +
			      " | sed 1d | cut -c29-39 | grep '[a-z]' | tr -d ' ' | tr '\\n' ' '");
		return result.err + result.out;
	}
};

TEST_F(SelectionTest, by_process_and_name)
{
	EXPECT_EQ(dumped(""), "load load test ");
	EXPECT_EQ(dumped("--pid 20"), "load ");
	EXPECT_EQ(dumped("--pid 10,20"), "load load ");
	EXPECT_EQ(dumped("--comm init --comm 'surf*'"), "load load ");
	EXPECT_EQ(dumped("--comm init --pid 20"), "");
	EXPECT_EQ(dumped("--uid 0"), "");
	EXPECT_EQ(dumped("--cgroup top"), "");
	EXPECT_EQ(dumped("--package ''"), "load load ");
	EXPECT_EQ(dumped("--channel test"), "test ");
}

TEST_F(SelectionTest, by_time)
{
	EXPECT_EQ(dumped("--since @1700000000.000000020"), "load test ");
	EXPECT_EQ(dumped("--until @1700000000.000000030"), "load load ");
	EXPECT_EQ(dumped("--since '2023-11-14 22:13:20' --until 2023-11-14T22:13:21Z"),
		  "load load test ");
	EXPECT_EQ(dumped("--since -1h"), "");
	EXPECT_EQ(run("dump capture --since yesterday").err,
		  "zemctl: --since: yesterday is not a time, such as \"2026-11-22 14:05:06\", "
		  "14:05, -15m or @1795356306\n");
	EXPECT_EQ(run("dump capture --until 25:00").status, 2);
}

TEST_F(SelectionTest, by_pattern)
{
	EXPECT_EQ(dumped("--grep 'surface .x. 20/20'"), "load ");
	EXPECT_EQ(dumped("--grep '^2023.*(hello|init)'"), "load test ");
	EXPECT_EQ(dumped("--grep 'hello\"$'"), "test ");
	EXPECT_EQ(dumped("--grep nothing"), "");
	const Result coloured = run("dump capture --color always --grep 'test  '");
	EXPECT_NE(coloured.out.find("hello"), std::string::npos) << "colour is no text";
	EXPECT_NE(coloured.out.find('\x1b'), std::string::npos);
	EXPECT_EQ(dumped("--color always --grep '33m'"), "");
	const Result json = run("dump capture --json --grep '\"comm\":\"init\"'");
	EXPECT_NE(json.out.find("\"init\""), std::string::npos);
	EXPECT_EQ(json.out.find("surface"), std::string::npos);
	EXPECT_NE(json.out.find("\"reason\":\"finished\",\"records\":1}"), std::string::npos)
		<< json.out;
	EXPECT_EQ(run("dump capture --grep '('").err.find("zemctl: (: not a pattern: "), 0u);
	EXPECT_EQ(run("dump capture --grep '('").status, 2);
}

TEST_F(SelectionTest, the_limit_counts_selected_records)
{
	EXPECT_EQ(dumped("--records 1 --grep hello"), "test ");
	const Result result = run("dump capture --summary --pid 20");
	EXPECT_NE(result.out.find("1 records"), std::string::npos) << result.out;
}

TEST_F(SelectionTest, watch_selects_too)
{
	show_records(load_of(10, "init") + load_of(20, "other"));
	const Result result = run("watch --seconds 0.2 --pid 20");
	EXPECT_NE(result.out.find("other"), std::string::npos);
	EXPECT_EQ(result.out.find("init"), std::string::npos);
}

TEST_F(SelectionTest, times_are_local_or_utc)
{
	const auto first = [this](const std::string &command) {
		return shell(command).out.substr(kHeading.size(), 26);
	};
	EXPECT_EQ(first("TZ=XYZ-9 $zemctl dump capture"), "2023-11-15 07:13:20.000000");
	EXPECT_EQ(first("TZ=XYZ-9 $zemctl dump --utc capture"), "2023-11-14 22:13:20.000000");
	EXPECT_EQ(first("TZ=XYZ-9 $zemctl dump capture --since '2023-11-15 07:13:20' "
			"--until '2023-11-15 07:13:21'"),
		  "2023-11-15 07:13:20.000000");
}

TEST_F(SelectionTest, colour_is_for_terminals_unless_the_user_decides)
{
	const auto has_colour = [this](const std::string &command) {
		return shell(command).out.find('\x1b') != std::string::npos;
	};
	/* script(1) runs a command on a new terminal. */
	const auto on_terminal = [](const std::string &environment, const std::string &options) {
		return environment + " script -qec \"" + ZEMCTL_BINARY + " dump capture " +
		       options + "\" /dev/null";
	};
	EXPECT_FALSE(has_colour("$zemctl dump capture"));
	EXPECT_TRUE(has_colour("$zemctl dump capture --color always"));
	EXPECT_TRUE(has_colour("NO_COLOR=1 $zemctl dump capture --color=always"));
	EXPECT_TRUE(has_colour(on_terminal("TERM=xterm", "")));
	EXPECT_TRUE(has_colour(on_terminal("TERM=xterm NO_COLOR=", "")));
	EXPECT_FALSE(has_colour(on_terminal("TERM=xterm NO_COLOR=1", "")));
	EXPECT_FALSE(has_colour(on_terminal("TERM=dumb", "")));
	EXPECT_FALSE(has_colour(on_terminal("TERM=xterm", "--color never")));
	EXPECT_TRUE(has_colour(on_terminal("TERM=dumb", "--color always")));
	EXPECT_EQ(run("dump capture --color sometimes").status, 2);
}

TEST(Pattern, an_anchor_is_the_edge_of_a_line)
{
	const Pattern pattern("^b.d$");
	EXPECT_TRUE(pattern.matches("a\nbcd\ne"));
	EXPECT_TRUE(pattern.matches(std::string_view("bcde").substr(0, 3)));
	EXPECT_FALSE(pattern.matches("abcd"));
	EXPECT_FALSE(pattern.matches("b\nd"));
}

} // namespace zemctl
