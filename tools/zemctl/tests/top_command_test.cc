// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl top without its screen. tests/top looks at the screen.
 */
#include "command_fixture.h"
#include "top_fixture.h"

namespace zemctl {

namespace {

class TopCommandTest : public CommandTest {
protected:
	static ByteVector records()
	{
		ByteVector all;
		for (std::uint32_t i = 0; i < 3; i++)
			all = all + record_with(ZEM_CHANNEL_LOAD,
						load_of(static_cast<std::int32_t>(100 + i), 100 + i,
							"worker" + std::to_string(i), "com.example",
							i * ZEM_CAPACITY_FULL / 4,
							(9 - i) * 100 * kTopMs));
		return all + record_with(ZEM_CHANNEL_CPU, cpu_of(0, 42));
	}
	void make_capture() const
	{
		show_records(records());
		ASSERT_EQ(run("record -o capture --records 4").status, 0);
		show_records({});
	}
	/* Returns the names of the processes in the order of the screen. */
	static std::string order_of_processes(const std::string &screen)
	{
		std::string order;
		for (std::size_t at = 0; (at = screen.find("worker", at)) != std::string::npos;
		     at++)
			order += screen[at + 6];
		return order;
	}
};

} // namespace

TEST_F(TopCommandTest, prints_one_screen_of_the_device)
{
	show_records(records());
	const Result result = run("top --once --interval 0.05 --utc");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(order_of_processes(result.out), "210") << result.out;
	EXPECT_NE(result.out.find("live"), std::string::npos);
	EXPECT_NE(result.out.find(" 0:42"), std::string::npos) << result.out;
	EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
}

TEST_F(TopCommandTest, prints_the_end_of_a_capture)
{
	make_capture();
	const Result result = run("top --once --replay capture --utc");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.out.substr(0, 44), " zemctl top  2023-11-14 22:13:20  capture   ")
		<< result.out;
	EXPECT_EQ(order_of_processes(result.out), "210");
	EXPECT_EQ(shell("cat capture | $zemctl top --once --replay - --utc").status, 0);
}

TEST_F(TopCommandTest, sorts_selects_and_colours_as_options_say)
{
	make_capture();
	const std::string top = "top --once --replay capture --utc ";
	EXPECT_EQ(order_of_processes(run(top + "--sort ran").out), "012");
	EXPECT_EQ(order_of_processes(run(top + "--filter KER1").out), "1");
	EXPECT_EQ(order_of_processes(run(top + "--processes 2").out), "21");
	EXPECT_NE(run(top + "--color always").out.find("\x1b[32m"), std::string::npos);
	EXPECT_NE(shell("COLUMNS=120 $zemctl " + top).out.find("waiting for a CPU: "),
		  std::string::npos);
	EXPECT_NE(shell("LC_ALL=C.UTF-8 $zemctl " + top).out.find("█"), std::string::npos);
	EXPECT_EQ(shell("LC_ALL=C.UTF-8 $zemctl " + top + "--ascii").out.find("█"),
		  std::string::npos);
}

TEST_F(TopCommandTest, a_capture_without_its_end_is_shown_as_such)
{
	make_capture();
	const Result result =
		shell("head -c -1 capture >cut; $zemctl top --once --replay cut --utc");
	EXPECT_EQ(result.status, 0);
	EXPECT_NE(result.out.find("END IS MISSING"), std::string::npos) << result.out;
}

TEST_F(TopCommandTest, refuses_to_fill_what_is_no_terminal)
{
	make_capture();
	for (const std::string options : {"", "--replay capture"}) {
		const Result result = run("top " + options);
		EXPECT_EQ(result.status, 1);
		EXPECT_EQ(result.out, "");
		EXPECT_EQ(result.err,
			  "zemctl: top: standard output is no terminal; --once prints a "
			  "screen\n");
	}
	const Result dumb = shell("TERM=dumb script -qec \"$zemctl top\" /dev/null");
	EXPECT_EQ(dumb.status, 1);
	EXPECT_EQ(dumb.out, "zemctl: top: the terminal (TERM=dumb) cannot show screens; --once "
			    "prints one\r\n");
}

TEST_F(TopCommandTest, refuses_mistakes)
{
	make_capture();
	put("no capture", "text");
	const auto err_of = [this](const std::string &options, int status) {
		const Result result = run("top " + options);
		EXPECT_EQ(result.status, status) << options;
		EXPECT_EQ(result.out, "");
		return result.err;
	};
	EXPECT_NE(err_of("--once --speed 2", 2).find("--speed needs --replay"), std::string::npos);
	EXPECT_NE(err_of("--once --replay capture --speed 2", 2).find("without --speed"),
		  std::string::npos);
	EXPECT_NE(err_of("--replay capture --speed 0", 2).find("0 is not a number from 0.01"),
		  std::string::npos);
	EXPECT_NE(err_of("--replay capture --speed nan", 2).find("nan is not a number"),
		  std::string::npos);
	EXPECT_NE(err_of("--once --sort colour", 2).find("--sort"), std::string::npos);
	EXPECT_NE(err_of("--once --interval 0", 2).find("--interval"), std::string::npos);
	EXPECT_NE(err_of("--once --replay nothing", 1).find("nothing"), std::string::npos);
	EXPECT_NE(err_of("--once --replay 'no capture'", 1).find("no capture"), std::string::npos);
}

TEST_F(TopCommandTest, fails_without_the_module)
{
	const Result result = shell("rm -r zem; $zemctl top --once --interval 0.01");
	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(result.out, "");
	EXPECT_NE(result.err, "");
}

} // namespace zemctl
