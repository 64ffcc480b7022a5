// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl top: shows what the records of the present say, on the full screen or once. The records
 * come from zemctl serve, from the shared buffer, or from a capture.
 */
#include "commands/commands.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <poll.h>
#include <unistd.h>

#include "base/wall_clock.h"
#include "commands/capture_input.h"
#include "commands/options.h"
#include "commands/print_options.h"
#include "commands/server_reading.h"
#include "kernel/machine.h"
#include "text/bars.h"
#include "text/terminal.h"
#include "text/words.h"
#include "top/display.h"
#include "top/layout.h"
#include "top/replay.h"

namespace zemctl {

namespace {

struct TopOptions {
	bool once = false;
	std::optional<double> interval; /* seconds */
	std::string replay; /* "" unless given; "-" stands for standard input */
	std::optional<double> speed;
	std::string sort = "cpu";
	std::string filter;
	std::size_t processes = 20; /* of --once */
	bool ascii = false;
	bool utc = false;
	When colour = When::kAuto;
};

/* With --once: a cycle of the collector, which has five seconds, and some time for its records. */
constexpr double kOnceSeconds = 6;
constexpr double kScreenSeconds = 1;
constexpr double kSpeedLeast = 0.01;
constexpr double kSpeedMost = 10000;

void check(const TopOptions &options)
{
	if (options.speed && options.replay.empty())
		throw usage_failure("top: --speed needs --replay");
	if (options.once && !options.replay.empty() && (options.speed || options.interval))
		throw usage_failure("top: --once shows the end of a capture, without --speed and "
				    "--interval");
	if (!options.once)
		FullScreen::check();
}

TopOrder order_of(const TopOptions &options)
{
	const auto row = std::ranges::find(kTopSorts, options.sort, &TopSortRow::name);
	return {static_cast<TopSort>(row - kTopSorts.begin()), false, options.filter};
}

TopStyle style_of(const TopOptions &options)
{
	const bool colour = wants_colour(options.colour, ::isatty(STDOUT_FILENO) == 1);
	return {.colour = colour,
		.attributes = colour || !options.once,
		.bars = output_style(options.ascii).bars,
		.zone = options.utc ? Calendar::Zone::kUtc : Calendar::Zone::kLocal};
}

DisplayOptions display_of(const TopOptions &options)
{
	return {.order = order_of(options),
		.speed = options.speed.value_or(1),
		.interval = duration_of(options.interval.value_or(kScreenSeconds)),
		.style = style_of(options)};
}

void print_once(const TopView &view, const TopHead &head, const TopOptions &options)
{
	TopControls controls(order_of(options));
	write_to_stdout(top_lines(view, head, controls, terminal_width(STDOUT_FILENO),
				  options.processes, style_of(options)));
}

/* Passes the records of a reading to a model, and shows it on a display if there is one. */
class TopSink {
public:
	/* The user has seen enough. */
	static constexpr bool kNeedsReader = false;
	static constexpr bool kShowsLosses = true;
	static constexpr std::chrono::nanoseconds kIdleTime = TopDisplay::kUpdateInterval;

	TopSink(TopModel &model, const TopHead &head, TopDisplay *display)
		: model_(model), head_(head), display_(display)
	{
	}

	bool deliver(const Arrival &arrival)
	{
		for (const Record &record : arrival.records)
			model_.add(record);
		model_.add_losses({.gaps = arrival.counters.gaps - gaps_,
				   .bytes = arrival.counters.lost_bytes - lost_bytes_});
		gaps_ = arrival.counters.gaps;
		lost_bytes_ = arrival.counters.lost_bytes;
		return display_ == nullptr || display_->update(model_, head_, wall_clock());
	}

	void note_kernel_loss(std::uint64_t records) { model_.add_losses({.kernel = records}); }
	void note_dropped(std::uint64_t records) { model_.add_losses({.dropped = records}); }
	void note_end() { server_ended_ = true; }
	void finish()
	{
		if (display_ != nullptr)
			display_->close();
		if (server_ended_)
			fmt::print(stderr, "zemctl: zemctl serve has ended\n");
	}
	int fd() const { return STDOUT_FILENO; }
	std::string name() const { return "standard output"; }
	Kept kept() const { return {}; }

private:
	TopModel &model_;
	const TopHead &head_;
	TopDisplay *display_;
	std::uint64_t gaps_ = 0;
	std::uint64_t lost_bytes_ = 0;
	bool server_ended_ = false;
};

TopModel model_of_machine()
{
	TopModel model;
	const Machine machine = read_machine();
	model.describe_cpus(machine.cpus);
	for (const PackageName &name : packages_in(machine.packages))
		model.add_package(name.uid, name.package);
	return model;
}

int run_live(const Paths &paths, const TopOptions &options)
{
	TopModel model = model_of_machine();
	return with_reading(paths, [&](auto &reading) {
		constexpr bool kFromServer = std::is_same_v<decltype(reading), ServerReading &>;
		const TopHead head = {.source = kFromServer ? "from zemctl serve" : "live"};
		ReadOptions read;
		if (options.once) {
			read.seconds = options.interval.value_or(kOnceSeconds);
			TopSink sink(model, head, nullptr);
			reading.run(read, TopDisplay::kUpdateInterval, sink);
			print_once(model.view(wall_clock(), StreamState::kEnded), head, options);
			return kStatusSuccess;
		}
		TopDisplay display(display_of(options));
		TopSink sink(model, head, &display);
		return reading.run(read, TopDisplay::kUpdateInterval, sink);
	});
}

/* Waits for a key, but not longer than the display allows. Return: false after a signal. */
bool wait_for_key(const TopDisplay &display, const StopSignal &stop)
{
	std::array<pollfd, 2> set = {{{display.key_fd(), POLLIN, 0}, {stop.fd(), POLLIN, 0}}};
	::poll(set.data(), set.size(), static_cast<int>(TopDisplay::kUpdateInterval.count()));
	return set[1].revents == 0;
}

TopHead replay_head(const std::string &name, const Replay &replay, const CaptureReader &reader,
		    double speed)
{
	TopHead head = {.source = fmt::format("{} x{}", name, speed), .is_replay = true};
	if (replay.has_ended())
		head.note = reader.is_finished() ? "END" : "END IS MISSING";
	return head;
}

void run_replay(CaptureInput &input, const std::string &name, const TopOptions &options)
{
	TopModel model;
	Replay replay(input.reader(), model);
	const StopSignal stop;
	TopDisplay display(display_of(options));
	auto now = static_cast<double>(replay.begin());
	auto last = Clock::now();
	do {
		const auto time = Clock::now();
		const double elapsed =
			std::chrono::duration<double, std::nano>(time - last).count();
		last = time;
		const double speed = display.controls().speed();
		if (!display.controls().is_paused() && !replay.has_ended())
			now += elapsed * speed;
		replay.advance(static_cast<std::uint64_t>(now));
		if (replay.has_ended())
			now = std::min(now, static_cast<double>(replay.latest()));
		const TopHead head = replay_head(name, replay, input.reader(), speed);
		const StreamState state = replay.has_ended() ? StreamState::kEnded :
							       StreamState::kContinues;
		if (!display.update(model, head, static_cast<std::uint64_t>(now), state))
			return;
	} while (wait_for_key(display, stop));
}

int run_top(const Paths &paths, const TopOptions &options)
{
	check(options);
	if (options.replay.empty())
		return run_live(paths, options);
	CaptureInput input(options.replay);
	const std::string name = options.replay == "-" ?
					 "standard input" :
					 options.replay.substr(options.replay.rfind('/') + 1);
	if (!options.once) {
		run_replay(input, name, options);
		return kStatusSuccess;
	}
	TopModel model;
	Replay replay(input.reader(), model);
	replay.advance_to_end();
	TopHead head = {.source = name, .is_replay = true};
	if (!input.reader().is_finished())
		head.note = "END IS MISSING";
	print_once(model.view(replay.latest(), StreamState::kEnded), head, options);
	return kStatusSuccess;
}

void add_speed(CLI::App &command, std::optional<double> &speed)
{
	command.add_option_function<std::string>(
		       "--speed",
		       [&speed](const std::string &text) {
			       speed = parse_number<double>(text);
			       if (!speed || !(*speed >= kSpeedLeast && *speed <= kSpeedMost))
				       throw CLI::ValidationError(
					       "--speed",
					       fmt::format("{} is not a number from {} to {}", text,
							   kSpeedLeast, kSpeedMost));
		       },
		       "Let the time of the capture pass this many times as fast")
		->type_name("N");
}

} // namespace

void add_top(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<TopOptions>();
	CLI::App *command = app.add_subcommand(
		"top", "Show the load, waits and IO of the moment on the full screen");
	command->add_flag("--once", options->once, "Print one screen as text, for scripts");
	add_seconds(*command, "--interval", options->interval,
		    "Draw this often; 1 is usual. With --once, the time to read; 6 is usual", 3600);
	command->add_option("--replay", options->replay, "Show a capture; - for standard input")
		->type_name("FILE");
	add_speed(*command, options->speed);
	command->add_option("--sort", options->sort, "The column by which processes are sorted")
		->check(is_row_of(kTopSorts));
	command->add_option("--filter", options->filter,
			    "Show only processes with this part of a name, a package or a pid")
		->type_name("TEXT");
	add_number<std::size_t>(*command, "--processes", options->processes,
				"The most processes that --once shows; 20 is usual", {1, 100000});
	command->add_flag("--ascii", options->ascii, "Draw with ASCII characters only");
	command->add_flag("--utc", options->utc, "Show times in UTC");
	add_colour(*command, options->colour, "Colour the screen: auto is on a terminal");
	runs(*command, line, [options](const Paths &paths) { return run_top(paths, *options); });
}

} // namespace zemctl
