// SPDX-License-Identifier: GPL-2.0
/*
 * The known word that is nearest to an unknown one, and how mistakes on the command line read.
 */
#include "text/nearest.h"

#include <vector>

#include "command_fixture.h"

namespace zemctl {

TEST(nearest_word, one_change_is_always_allowed)
{
	const std::vector<std::string> known = {"io", "set"};
	EXPECT_EQ(nearest_word("oi", known), "io") << "a swap";
	EXPECT_EQ(nearest_word("i", known), "io") << "a letter too few";
	EXPECT_EQ(nearest_word("iou", known), "io") << "a letter too many";
	EXPECT_EQ(nearest_word("sat", known), "set") << "a wrong letter";
	EXPECT_EQ(nearest_word("sta", known), std::nullopt);
}

TEST(nearest_word, longer_words_allow_a_third_of_their_letters)
{
	const std::vector<std::string> known = {"unload"};
	EXPECT_EQ(nearest_word("onlood", known), "unload");
	EXPECT_EQ(nearest_word("onlood1", known), std::nullopt);
	EXPECT_EQ(nearest_word("unl", known), std::nullopt);
}

TEST(nearest_word, the_fewest_changes_win_then_the_first)
{
	const std::vector<std::string> known = {"watches", "watch", "match"};
	EXPECT_EQ(nearest_word("watchs", known), "watches");
	EXPECT_EQ(nearest_word("watc", known), "watch");
	EXPECT_EQ(nearest_word("hatch", known), "watch");
	EXPECT_EQ(nearest_word("", known), std::nullopt);
	EXPECT_EQ(nearest_word("watch", {}), std::nullopt);
}

class MistakeTest : public CommandTest {
protected:
	void expect_mistake(const std::string &arguments, const std::string &text,
			    const std::string &command)
	{
		const Result result = run(arguments);
		EXPECT_EQ(result.err,
			  "zemctl: " + text + "\nzemctl: " + command + " --help has the usage\n");
		EXPECT_EQ(result.out, "");
		EXPECT_EQ(result.status, 2);
	}
};

TEST_F(MistakeTest, an_unknown_command_is_named_with_the_nearest)
{
	expect_mistake("dmup x", "there is no command dmup; the nearest is dump", "zemctl");
	expect_mistake("frobnicate", "there is no command frobnicate", "zemctl");
	expect_mistake("set trcae on", "there is no command trcae; the nearest is trace",
		       "zemctl set");
	expect_mistake("\"$(printf 'd\\033mup')\"", "there is no command d\\x1bmup", "zemctl");
}

TEST_F(MistakeTest, an_unknown_option_is_named_with_the_nearest)
{
	expect_mistake("dump --jsn x", "there is no option --jsn; the nearest is --json",
		       "zemctl dump");
	expect_mistake("dump --jsn=1", "there is no option --jsn; the nearest is --json",
		       "zemctl dump");
	expect_mistake("status --divece x", "there is no option --divece; the nearest is --device",
		       "zemctl status");
	expect_mistake("load -x", "there is no option -x", "zemctl load");
	expect_mistake("-x", "there is no option -x", "zemctl");
}

TEST_F(MistakeTest, a_missing_command_is_listed)
{
	expect_mistake("set", "zemctl set requires a command: trace, interval, rb-size, metrics",
		       "zemctl set");
}

TEST_F(MistakeTest, the_command_for_the_completion_script_stays_hidden)
{
	const std::string listed = run("").err;
	EXPECT_NE(listed.find("zemctl requires a command: status, "), std::string::npos);
	EXPECT_NE(listed.find(", completion, help\n"), std::string::npos) << listed;
	expect_mistake("compleet", "there is no command compleet", "zemctl");
}

TEST_F(MistakeTest, an_argument_too_many_is_named)
{
	expect_mistake("status extra", "one argument too many: extra", "zemctl status");
	expect_mistake("load 1 2 3", "one argument too many: 3", "zemctl load");
}

TEST_F(MistakeTest, numbers_are_decimal_and_within_limits)
{
	EXPECT_EQ(run("set interval svp 010").status, 0);
	EXPECT_EQ(get("zem/svp_interval"), "10\n");
	EXPECT_EQ(run("trigger 0010").status, 0);
	EXPECT_EQ(get("zem/trigger"), "10\n");
	EXPECT_EQ(run("trigger -7").status, 0);
	EXPECT_EQ(get("zem/trigger"), "-7\n");
	expect_mistake("trigger 0x10",
		       "N: 0x10 is not a whole number from -2147483648 to 2147483647",
		       "zemctl trigger");
	expect_mistake("load --top -1",
		       "--top: -1 is not a whole number from 1 to 18446744073709551615",
		       "zemctl load");
	expect_mistake("load --seconds nan",
		       "--seconds: nan is not a number of seconds from 0.001 to 1000000",
		       "zemctl load");
	expect_mistake("load 0", "SECONDS: 0 is not a number of seconds from 0.001 to 1000000",
		       "zemctl load");
	expect_mistake("record -o capture --rotate-bytes 0x10",
		       "--rotate-bytes: 0x10 is not a whole number from 1 to 18446744073709551615",
		       "zemctl record");
	expect_mistake("record -o capture --rotate-bytes 1 --keep 0",
		       "--keep: 0 is not a whole number from 1 to 18446744073709551615",
		       "zemctl record");
	expect_mistake("record -o capture --rotate-seconds nan",
		       "--rotate-seconds: nan is not a number of seconds from 0.001 to 1000000000",
		       "zemctl record");
	EXPECT_FALSE(fs::exists(root / "capture"));
	expect_mistake("watch --records 1 --seconds -1",
		       "--seconds: -1 is not a number of seconds from 0.001 to 1000000000",
		       "zemctl watch");
	expect_mistake("dump x --uid 1,-1", "--uid: -1 is not a whole number from 0 to 4294967295",
		       "zemctl dump");
	expect_mistake("load 1 0", "COUNT: 0 is not a whole number from 1 to 18446744073709551615",
		       "zemctl load");
}

} // namespace zemctl
