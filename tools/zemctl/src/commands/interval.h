/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The intervals that a command measures: the arguments SECONDS and COUNT, the option --seconds, and
 * the waits between the readings.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "base/stop_signal.h"

namespace CLI {
class App;
}

namespace zemctl {

using Seconds = std::chrono::duration<double>;

struct IntervalOptions {
	std::optional<double> once = {}; /* seconds */
	std::optional<double> each = {}; /* seconds */
	std::optional<std::uint64_t> count = {}; /* none: until a signal */

	bool are_given() const { return once || each; }
};

/* Adds the options that fill @options. */
void add_interval(CLI::App &command, IntervalOptions &options);

/*
 * The intervals of one run of a command; one of one second if the user gave none. SIGINT,
 * SIGTERM and SIGHUP end the present interval early, and it is the last one. At most one object in
 * a process.
 */
class Intervals {
public:
	explicit Intervals(const IntervalOptions &options);

	/*
	 * Waits for the end of the next interval. The intervals end at multiples of their length
	 * after the start, so that they do not drift. Return: false if there is no other interval.
	 */
	bool wait();

	/* The time from the previous return of wait(), or from the construction, to the last. */
	Seconds length() const { return end_ - begin_; }

private:
	using Clock = std::chrono::steady_clock;

	bool sleep_until(Clock::time_point time);

	StopSignal stop_;
	Clock::duration step_;
	std::optional<std::uint64_t> left_;
	bool stopped_ = false;
	Clock::time_point due_ = Clock::now();
	Clock::time_point begin_ = due_;
	Clock::time_point end_ = due_;
};

/* Returns @length for JSON. */
std::optional<std::uint64_t> nanoseconds_of(std::optional<Seconds> length);

} // namespace zemctl
