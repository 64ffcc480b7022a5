// SPDX-License-Identifier: GPL-2.0
/*
 * The intervals that a command measures.
 */
#include "commands/interval.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>

#include "base/errors.h"
#include "commands/options.h"

namespace zemctl {

namespace {
constexpr double kLongest = 1e6;
constexpr double kUsual = 1;
} // namespace

void add_interval(CLI::App &command, IntervalOptions &options)
{
	CLI::Option *once = add_seconds(command, "--seconds", options.once,
					"Measure once, for this long", kLongest);
	add_seconds(command, "SECONDS", options.each, "Measure repeatedly, each time for this long",
		    kLongest)
		->excludes(once);
	add_number<std::uint64_t>(command, "COUNT", options.count,
				  "End after this many measurements", {.least = 1});
}

Intervals::Intervals(const IntervalOptions &options)
	: step_(std::chrono::duration_cast<Clock::duration>(
		  Seconds(options.each.value_or(options.once.value_or(kUsual))))),
	  left_(options.each ? options.count : 1)
{
}

bool Intervals::wait()
{
	if (stopped_ || left_ == 0)
		return false;
	if (left_)
		--*left_;
	/* A reader that was stopped for long does not catch up. */
	due_ = std::max(due_ + step_, Clock::now());
	stopped_ = !sleep_until(due_);
	begin_ = end_;
	end_ = Clock::now();
	return true;
}

/* Return: false if a signal ended the sleep. */
bool Intervals::sleep_until(Clock::time_point time)
{
	/* Longer waits do not fit into the argument of poll(). */
	constexpr auto kLongestWait = std::chrono::milliseconds(std::chrono::hours(24));
	pollfd descriptor = {stop_.fd(), POLLIN, 0};
	while (true) {
		const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
		const auto wait = std::clamp(left, std::chrono::milliseconds(0), kLongestWait);
		const int ready = ::poll(&descriptor, 1, static_cast<int>(wait.count()));
		if (ready > 0)
			return false;
		if (ready < 0 && errno != EINTR)
			throw system_failure("poll", errno);
		if (left.count() <= 0)
			return true;
	}
}

std::optional<std::uint64_t> nanoseconds_of(std::optional<Seconds> length)
{
	if (!length)
		return std::nullopt;
	return static_cast<std::uint64_t>(
		std::chrono::duration_cast<std::chrono::nanoseconds>(*length).count());
}

} // namespace zemctl
