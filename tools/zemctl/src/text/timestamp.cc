// SPDX-License-Identifier: GPL-2.0
/*
 * Points in time as text.
 */
#include "text/timestamp.h"

#include <ctime>

#include <fmt/format.h>

namespace zemctl {

namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

std::tm broken_down(std::uint64_t nanoseconds, std::tm *(*convert)(const std::time_t *, std::tm *))
{
	const auto seconds = static_cast<std::time_t>(nanoseconds / kNanosecondsPerSecond);
	std::tm result = {};
	convert(&seconds, &result);
	return result;
}

std::string date_and_time(const std::tm &time, char between)
{
	return fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}:{:02}", time.tm_year + 1900,
			   time.tm_mon + 1, time.tm_mday, between, time.tm_hour, time.tm_min,
			   time.tm_sec);
}

} // namespace

std::string format_local_time(std::uint64_t nanoseconds)
{
	return fmt::format("{}.{:06}", date_and_time(broken_down(nanoseconds, ::localtime_r), ' '),
			   nanoseconds % kNanosecondsPerSecond / 1000);
}

std::string format_utc_time(std::uint64_t nanoseconds)
{
	return fmt::format("{}.{:09}Z", date_and_time(broken_down(nanoseconds, ::gmtime_r), 'T'),
			   nanoseconds % kNanosecondsPerSecond);
}

} // namespace zemctl
