// SPDX-License-Identifier: GPL-2.0
/*
 * The completion of command lines, as the scripts of the shells use it.
 */
#include "command_fixture.h"

namespace zemctl {

class CompletionTest : public CommandTest {
protected:
	std::string complete(const std::string &words) const
	{
		const Result result = run("complete -- " + words);
		EXPECT_EQ(result.err, "");
		EXPECT_EQ(result.status, 0);
		return result.out;
	}
};

TEST_F(CompletionTest, commands_in_alphabetical_order)
{
	EXPECT_EQ(complete("s"), "sched\nsend\nserve\nset\nstatus\nsvp\n");
	EXPECT_EQ(complete("set ''"), "interval\nmetrics\nrb-size\ntrace\n");
	EXPECT_EQ(complete("complet"), "completion\n") << "the command for the script is hidden";
	EXPECT_EQ(complete("nothing"), "");
}

TEST_F(CompletionTest, options_of_the_command_and_of_zemctl)
{
	EXPECT_EQ(complete("io --d"), "--device\n--devices\n");
	EXPECT_EQ(complete("--sy"), "--sysfs\n");
	EXPECT_EQ(complete("--sysfs dir io --dev"), "--device\n--devices\n");
}

TEST_F(CompletionTest, values_of_options_and_arguments)
{
	EXPECT_EQ(complete("watch --channel kz"), "kzerod\n");
	EXPECT_EQ(complete("set trace o"), "off\non\n");
	EXPECT_EQ(complete("set interval ''").find("cgroup\ndisplay\n"), 0u);
	EXPECT_EQ(complete("set interval svp ''"), "") << "any number";
	EXPECT_EQ(complete("set metrics load o"), "off\non\n");
	EXPECT_EQ(complete("completion ''"), "bash\nzsh\n");
}

TEST_F(CompletionTest, files_are_left_to_the_shell)
{
	EXPECT_EQ(complete("dump ''"), "");
	EXPECT_EQ(complete("record -o ''"), "");
	EXPECT_EQ(complete("record --output s"), "");
}

TEST_F(CompletionTest, bash_completes_with_the_script)
{
	const Result result = shell(
		"mkdir bin; ln -s " ZEMCTL_BINARY " bin/zemctl; PATH=$PWD/bin:$PATH\n"
		"bash -c 'source <(zemctl completion bash); complete -p zemctl\n"
		"COMP_WORDS=(zemctl set tr); COMP_CWORD=2; _zemctl; echo \"${COMPREPLY[@]}\"'");
	EXPECT_EQ(result.out, "complete -o bashdefault -o default -F _zemctl zemctl\ntrace\n");
	EXPECT_EQ(result.err, "");
}

TEST_F(CompletionTest, zsh_has_a_script)
{
	EXPECT_EQ(run("completion zsh").out.find("#compdef zemctl\n"), 0u);
	EXPECT_EQ(run("completion fish").status, 2);
}

} // namespace zemctl
