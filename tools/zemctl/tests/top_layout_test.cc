// SPDX-License-Identifier: GPL-2.0
/*
 * The screens of zemctl top.
 */
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/fit.h"
#include "text/text.h"
#include "top/layout.h"
#include "top_fixture.h"

namespace zemctl {

namespace {

constexpr TopStyle kPlain = {.bars = BarStyle::kAscii, .zone = Calendar::Zone::kUtc};
const TopHead kHead = {.source = "live", .note = {}};

/* Returns a screen without the blanks at the ends of its rows, which must fill all columns. */
std::string screen_of(const TopView &view, TopControls &controls, const TopSize &size,
		      const TopHead &head = kHead)
{
	std::string rest = draw_top(view, head, controls, size, kPlain) + "\r\n";
	std::string rows;
	std::size_t count = 0;
	for (std::size_t end; (end = rest.find("\r\n")) != std::string::npos; count++) {
		const std::string row = rest.substr(0, end);
		EXPECT_EQ(columns_of(row), size.columns) << row;
		rows += row;
		end_line(rows);
		rest.erase(0, end + 2);
	}
	EXPECT_EQ(count, size.rows);
	return rows;
}

std::string screen_of(const TopView &view, const TopSize &size)
{
	TopControls controls(TopOrder{});
	return screen_of(view, controls, size);
}

std::string row_with(const std::string &screen, std::string_view part)
{
	const std::size_t at = screen.find(part);
	if (at == std::string::npos)
		return "no " + std::string(part) + " in\n" + screen;
	const std::size_t begin = screen.rfind('\n', at) + 1;
	return screen.substr(begin, screen.find('\n', at) - begin);
}

} // namespace

TEST(TopLayoutTest, fills_a_small_terminal)
{
	const TopView view = full_view();
	EXPECT_EQ("\n" + screen_of(view, {80, 24}), R"(
 zemctl top  2023-11-14 22:13:30  live                                 sort cpu
records    14.0/s  4.15kB/s  84 in all                                    @    @
lost       nothing                   age of  load 0s  sched 0s  io 0s  groups 0s
cluster 0   25.0 %  ########                         cpu  0:10  1:20  2:30  3:40
cluster 1   60.0 %  ###################              cpu  4:50  5:60  6:70
cluster 2   80.0 %  #########################        cpu  7:80
run delay   <0.5 ms @@==--::::.......... >=20 ms   351 in 1.02s
hard irqs   <100 us @@                   >=8 ms    1200 in 51.2ms
    PID  CPU %     RAN    WAIT  DSTATE  IOWAIT  NAME             PACKAGE
   1001   29.0   870ms       -       -       -  worker/1
   1002   28.0   840ms       -       -       -  worker/2
   1003   27.0   810ms   123ms  4.00ms  1.50us  worker/3         org.maps
   1004   26.0   780ms       -       -       -  worker/4
   1005   25.0   750ms       -       -       -  worker/5
   1006   24.0   720ms       -       -       -  worker/6
DEVICE    READ/s WRITE/s BUSY      UID   DATA IOWAIT  GROUP   WAIT   D IO  OTHER
sda           0B      0B   0%    10200 10.2MB      0  all    900ms 90.0ms      0
sde           0B      0B   0%    10300     0B 7.00ms  root   450ms 90.0ms      -
super         0B      0B   0%                         fg     300ms 90.0ms      0
userdata  2.05MB   102kB  50%                         top    225ms 90.0ms      0
                                                      bg     180ms 90.0ms      0
                                                      sysbg  150ms 90.0ms      0
                                                      svp    129ms 90.0ms      0
 q quit  h help  p pause  s sort  r reverse  / filter                 1-6 of 30
)");
}

TEST(TopLayoutTest, a_large_terminal_shows_every_bucket)
{
	const TopView view = full_view();
	EXPECT_EQ("\n" + screen_of(view, {100, 36}), R"(
 zemctl top  2023-11-14 22:13:30  live                                                     sort cpu
records    14.0/s  4.15kB/s  84 in all                                                        @    @
lost       nothing                                       age of  load 0s  sched 0s  io 0s  groups 0s
cluster 0   25.0 %  #############                                        cpu  0:10  1:20  2:30  3:40
cluster 1   60.0 %  ###############################                      cpu  4:50  5:60  6:70
cluster 2   80.0 %  #########################################            cpu  7:80
SVP tasks waiting for a CPU: 351 in 1.02s          hard interrupts: 1200 in 51.2ms
   <0.5 ms       120   34.2 %  ##################     <100 us      1200  100.0 %  ##################
     <1 ms        60   17.1 %  #########              <200 us         0    0.0 %
     <2 ms        40   11.4 %  ######                 <300 us         0    0.0 %
     <3 ms        30    8.5 %  #####                  <500 us         0    0.0 %
     <5 ms        24    6.8 %  ####                     <1 ms         0    0.0 %
     <7 ms        20    5.7 %  ###                      <2 ms         0    0.0 %
    <10 ms        17    4.8 %  ###                      <4 ms         0    0.0 %
    <15 ms        15    4.3 %  ##                       <6 ms         0    0.0 %
    <20 ms        13    3.7 %  ##                       <8 ms         0    0.0 %
   >=20 ms        12    3.4 %  ##                      >=8 ms         0    0.0 %
    PID  CPU %     RAN    WAIT  DSTATE  IOWAIT  NAME             PACKAGE
   1001   29.0   870ms       -       -       -  worker/1
   1002   28.0   840ms       -       -       -  worker/2
   1003   27.0   810ms   123ms  4.00ms  1.50us  worker/3         org.maps
   1004   26.0   780ms       -       -       -  worker/4
   1005   25.0   750ms       -       -       -  worker/5
   1006   24.0   720ms       -       -       -  worker/6
   1007   23.0   690ms       -       -       -  worker/7
   1008   22.0   660ms       -       -       -  worker/8
   1009   21.0   630ms       -       -       -  worker/9
DEVICE    READ/s WRITE/s BUSY      UID   DATA IOWAIT  PACKAGE             GROUP   WAIT   D IO  OTHER
sda           0B      0B   0%    10200 10.2MB      0  org.maps            all    900ms 90.0ms      0
sde           0B      0B   0%    10300     0B 7.00ms                      root   450ms 90.0ms      -
super         0B      0B   0%                                             fg     300ms 90.0ms      0
userdata  2.05MB   102kB  50%                                             top    225ms 90.0ms      0
                                                                          bg     180ms 90.0ms      0
                                                                          sysbg  150ms 90.0ms      0
                                                                          svp    129ms 90.0ms      0
 q quit  h help  p pause  s sort  r reverse  / filter                                     1-9 of 30
)");
}

TEST(TopLayoutTest, tables_with_more_rows_than_there_is_room_for_are_cut)
{
	TopModel model;
	for (std::uint32_t cpu = 0; cpu < 6; cpu++) {
		add_to(model, ZEM_CHANNEL_CPU, cpu_of(cpu, 10), kTopStart);
		model.describe_cpus({{cpu, cpu, 1024, 0}});
	}
	zem_kio kio = kio_of(1);
	for (std::uint32_t i = 0; i < 10; i++) {
		kio.io_top[i] = kio.io_top[0];
		kio.io_top[i].uid = 20'000 + i;
	}
	add_to(model, ZEM_CHANNEL_KIO, kio, kTopStart);
	const std::string screen = screen_of(model.view(kTopStart), {80, 24});
	EXPECT_NE(screen.find("cluster 3"), std::string::npos);
	EXPECT_EQ(screen.find("cluster 4"), std::string::npos);
	EXPECT_NE(screen.find("20006"), std::string::npos);
	EXPECT_EQ(screen.find("20007"), std::string::npos);
}

TEST(TopLayoutTest, shows_what_is_missing_before_the_first_record)
{
	EXPECT_EQ("\n" + screen_of(TopModel().view(kTopStart), {80, 24}), R"(
 zemctl top  2023-11-14 22:13:20  live                                 sort cpu
records    0.0/s  0B/s  0 in all
lost       nothing                       age of  load -  sched -  io -  groups -
CPUs       no record yet
run delay   <0.5 ms                      >=20 ms   0 in 0
hard irqs   <100 us                      >=8 ms    0 in 0
    PID  CPU %     RAN    WAIT  DSTATE  IOWAIT  NAME             PACKAGE














DEVICE    READ/s WRITE/s BUSY      UID   DATA IOWAIT  GROUP   WAIT   D IO  OTHER
no record yet                  no record yet          no record yet
 q quit  h help  p pause  s sort  r reverse  / filter              no processes
)");
}

TEST(TopLayoutTest, a_tiny_terminal_gets_a_message)
{
	const TopView view = full_view();
	EXPECT_EQ(screen_of(view, {20, 4}), "zemctl top needs\n80x24, this is\n20x4. q: quit\n\n");
	EXPECT_EQ(screen_of(view, {79, 24}).substr(0, 16), "zemctl top needs");
	EXPECT_EQ(screen_of(view, {80, 23}).substr(0, 16), "zemctl top needs");
	EXPECT_EQ(screen_of(view, {3, 2}), "zem\n80x\n");
	EXPECT_EQ(screen_of(view, {1, 1}), "z\n");
}

/* No size may have rows of another width, or fail. */
TEST(TopLayoutTest, fits_every_size)
{
	TopView view = full_view(3);
	view.processes[0].comm = "\u65e5\u672c\u8a9e\u65e5\u672c\u8a9e\u65e5\u672c";
	view.processes[1].package = std::string(200, 'p');
	view.losses = {.kernel = UINT64_MAX, .dropped = UINT64_MAX, .gaps = 1, .bytes = 1};
	view.records = UINT64_MAX;
	for (const std::size_t columns : {80u, 81u, 99u, 100u, 101u, 140u, 300u}) {
		for (const std::size_t rows : {24u, 25u, 35u, 36u, 60u})
			screen_of(view, {columns, rows});
	}
}

TEST(TopLayoutTest, odd_bytes_in_names_are_escaped)
{
	TopView view = full_view(1);
	view.processes[0].comm = "\x1b[2J\xff\n";
	view.groups[0].name = "\x07";
	view.users[0].package = "\x1b]0;x\x07";
	TopControls controls(TopOrder{});
	const std::string screen = screen_of(view, controls, {120, 30},
					     {.source = "a\x1b"
							"b",
					      .note = {}});
	EXPECT_NE(screen.find("\\x1b[2J\\xff"), std::string::npos) << screen;
	EXPECT_NE(screen.find("a\\x1bb"), std::string::npos);
	EXPECT_NE(screen.find("\\x1b]0;x"), std::string::npos);
	EXPECT_TRUE(std::ranges::all_of(screen, [](char c) { return c == '\n' || c >= ' '; }));
}

TEST(TopLayoutTest, scrolls_to_the_last_process)
{
	const TopView view = full_view();
	TopControls controls(TopOrder{.by = TopSort::kPid});
	EXPECT_NE(screen_of(view, controls, {80, 24}).find(" 1-6 of 30\n"), std::string::npos);
	controls.on_key({KeyKind::kEnd});
	const std::string last = screen_of(view, controls, {80, 24});
	EXPECT_NE(last.find(" 25-30 of 30\n"), std::string::npos) << last;
	EXPECT_EQ(row_with(last, "worker/24").substr(0, 7), "   1024");
	EXPECT_NE(last.find("worker/29"), std::string::npos);
	EXPECT_EQ(last.find("worker/23"), std::string::npos);
}

TEST(TopLayoutTest, shows_the_choices_of_the_user)
{
	const TopView view = full_view();
	TopControls controls(TopOrder{});
	for (const char key : std::string("rp/er/1"))
		controls.on_key({KeyKind::kCharacter, key});
	std::string screen = screen_of(view, controls, {80, 24});
	EXPECT_NE(row_with(screen, "zemctl top").find("PAUSED  sort cpu reversed"),
		  std::string::npos);
	EXPECT_EQ(row_with(screen, "filter:").substr(0, 16), " filter: er/1_  ");
	EXPECT_NE(screen.find("1-6 of 11\n"), std::string::npos) << screen;
	controls.on_key({KeyKind::kEnter});
	screen = screen_of(view, controls, {80, 24});
	EXPECT_EQ(row_with(screen, "filter:").substr(0, 31), " filter: er/1  (Esc shows all) ");
	for (const char key : std::string("/zz"))
		controls.on_key({KeyKind::kCharacter, key});
	EXPECT_NE(screen_of(view, controls, {80, 24}).find("no processes\n"), std::string::npos);
}

TEST(TopLayoutTest, shows_help)
{
	TopControls controls(TopOrder{});
	controls.on_key({KeyKind::kCharacter, 'h'});
	const std::string screen = screen_of(TopView(), controls, {80, 24});
	for (const char *line : {"q            quit", "Any key returns.",
				 "All times and amounts are since the record before."})
		EXPECT_NE(screen.find(line), std::string::npos) << screen;
}

TEST(TopLayoutTest, shows_each_kind_of_loss)
{
	TopView view;
	EXPECT_EQ(row_with(screen_of(view, {80, 24}), "lost").substr(0, 18), "lost       nothing");
	view.losses = {.kernel = 1, .dropped = 2, .gaps = 3, .bytes = 4000};
	EXPECT_NE(screen_of(view, {120, 24})
			  .find("lost       1 in the kernel, 2 in zemctl, 3 gaps (4.00kB or more)"),
		  std::string::npos);
}

TEST(TopLayoutTest, has_colours_only_if_the_style_has)
{
	const TopView view = full_view();
	TopControls controls(TopOrder{});
	const TopSize size = {80, 24};
	EXPECT_EQ(draw_top(view, kHead, controls, size, kPlain).find('\x1b'), std::string::npos);
	TopStyle style = kPlain;
	style.attributes = true;
	const std::string plain = draw_top(view, kHead, controls, size, style);
	EXPECT_NE(plain.find("\x1b[7m"), std::string::npos);
	EXPECT_EQ(plain.find("\x1b[3"), std::string::npos);
	style.colour = true;
	EXPECT_NE(draw_top(view, kHead, controls, size, style).find("\x1b[32m"), std::string::npos);
}

TEST(TopLayoutTest, lines_have_all_parts_and_no_keys)
{
	const TopView view = full_view();
	TopControls controls(TopOrder{});
	const std::string lines = top_lines(view, kHead, controls, 80, 3, kPlain);
	EXPECT_EQ(std::ranges::count(lines, '\n'), 20);
	EXPECT_EQ(lines.find("q quit"), std::string::npos);
	EXPECT_NE(lines.find("worker/"), std::string::npos);
	EXPECT_NE(lines.find("sysbg"), std::string::npos);
	EXPECT_EQ(lines.find(" \n"), std::string::npos);
	/* A narrow pipe is no reason to leave anything out. */
	EXPECT_EQ(top_lines(view, kHead, controls, 10, 3, kPlain), lines);
}

} // namespace zemctl
