/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The common part of zemctl watch and zemctl record: a session on the real device, the records that
 * the kernel lost during the session, the summary at its end, and the exit status.
 */
#pragma once

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <optional>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/stop_signal.h"
#include "commands/summary.h"
#include "kernel/control_node.h"
#include "kernel/device.h"
#include "kernel/kernel_loss.h"
#include "kernel/paths.h"
#include "kernel/reader_lock.h"
#include "kernel/session.h"

namespace CLI {
class App;
}

namespace zemctl {

struct ReadOptions {
	std::optional<double> seconds;
	bool strict = false;
};

/* Adds the options that fill @options. */
void add_read_options(CLI::App &command, ReadOptions &options);

/* @seconds is kSecondsMax at most. */
std::chrono::nanoseconds duration_of(double seconds);
std::optional<std::chrono::nanoseconds> duration_of(const ReadOptions &options);

void print_notes(const std::vector<std::string> &notes);

/*
 * Returns whether a sink shows the losses itself, because it fills the screen: messages on standard
 * error would be in its way.
 */
template <typename Sink>
constexpr bool shows_losses()
{
	return requires { Sink::kShowsLosses; };
}

/* Delivers to a sink, and reports meanwhile the records that the kernel loses. */
template <typename Sink>
class LossWatch {
public:
	LossWatch(Sink &sink, LossMeter &meter) : sink_(sink), meter_(meter) {}

	bool deliver(const Arrival &arrival)
	{
		if (Clock::now() - last_look_ >= kLookInterval)
			look();
		return sink_.deliver(arrival);
	}

	void look()
	{
		last_look_ = Clock::now();
		const std::uint64_t lost = meter_.update();
		if (lost == 0)
			return;
		if (!shows_losses<Sink>())
			fmt::print(stderr, "zemctl: records lost in the kernel so far: {}\n",
				   meter_.growth().loss_text());
		sink_.note_kernel_loss(lost);
	}

private:
	static constexpr auto kLookInterval = std::chrono::seconds(1);

	Sink &sink_;
	LossMeter &meter_;
	Clock::time_point last_look_ = Clock::now();
};

/* Returns whether nothing is missing, and that is known. */
bool is_complete(const Counters &counters, const Kept &kept, const LossMeter &meter);

/*
 * Calls @read, which delivers to @sink, finishes the sink, and calls @summarise, also if @read
 * fails. If the output loses its reader, that is a failure if the sink needs one.
 */
template <typename Sink, typename Read, typename Summarise>
void read_and_summarise(Sink &sink, const Read &read, const Summarise &summarise)
{
	try {
		read();
		sink.finish();
	} catch (const Failure &) {
		summarise();
		throw;
	} catch (const BrokenPipe &) {
		if (!Sink::kNeedsReader)
			throw;
		summarise();
		throw system_failure(sink.name(), EPIPE);
	}
	summarise();
}

/* Opened before the output: if the module is not loaded, an old capture must not be truncated. */
class DeviceReading {
public:
	explicit DeviceReading(const Paths &paths)
		: lock_(ControlNode(paths.sysfs).path("trace"), paths.proc),
		  device_(ControlNode(paths.sysfs).path("trace"), paths.device, stop_),
		  meter_(paths.counters())
	{
	}

	/*
	 * @sink is a Receiver that also finishes its output, notes losses in the kernel, and
	 * returns its descriptor and what it kept. Return: the exit status.
	 */
	template <typename Sink>
	int run(const ReadOptions &options, std::chrono::nanoseconds look_interval, Sink &sink)
	{
		device_.end_with(sink.fd());
		Reader reader;
		LossWatch watch(sink, meter_);
		Session session(device_, reader, watch, {duration_of(options), look_interval});
		read_and_summarise(
			sink,
			[&] {
				session.run();
				watch.look();
			},
			[&] {
				if (!shows_losses<Sink>())
					fmt::print(stderr, "{}",
						   format_summary(reader.counters(), sink.kept(),
								  session.elapsed(), meter_));
			});
		return is_complete(reader.counters(), sink.kept(), meter_) || !options.strict ?
			       kStatusSuccess :
			       kStatusFailure;
	}

private:
	StopSignal stop_;
	ReaderLock lock_;
	ZemDevice device_;
	LossMeter meter_;
};

} // namespace zemctl
