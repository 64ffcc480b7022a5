// SPDX-License-Identifier: GPL-2.0
/*
 * Formats points in time.
 */
#include "text/timestamp.h"

#include <ctime>

#include <fmt/chrono.h>

namespace zemctl {

namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

std::time_t seconds_of(std::uint64_t nanoseconds)
{
	return static_cast<std::time_t>(nanoseconds / kNanosecondsPerSecond);
}

} // namespace

std::string format_local_time(std::uint64_t nanoseconds)
{
	return fmt::format("{:%F %T}.{:06}", fmt::localtime(seconds_of(nanoseconds)),
			   nanoseconds % kNanosecondsPerSecond / 1000);
}

std::string format_utc_time(std::uint64_t nanoseconds)
{
	return fmt::format("{:%FT%T}.{:09}Z", fmt::gmtime(seconds_of(nanoseconds)),
			   nanoseconds % kNanosecondsPerSecond);
}

} // namespace zemctl
