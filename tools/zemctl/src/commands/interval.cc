// SPDX-License-Identifier: GPL-2.0
/*
 * Waits for the time between two readings.
 */
#include "commands/interval.h"

#include <cerrno>

#include <poll.h>

#include "base/errors.h"
#include "base/stop_signal.h"

namespace zemctl {

void wait_for(Seconds length)
{
	const StopSignal stop;
	pollfd descriptor = {stop.fd(), POLLIN, 0};
	const auto end = std::chrono::steady_clock::now() + length;
	while (true) {
		const auto left = std::chrono::ceil<std::chrono::milliseconds>(
			end - std::chrono::steady_clock::now());
		if (left.count() <= 0)
			return;
		const int ready = ::poll(&descriptor, 1, static_cast<int>(left.count()));
		if (ready > 0)
			return;
		if (ready < 0 && errno != EINTR)
			throw system_failure("poll", errno);
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
