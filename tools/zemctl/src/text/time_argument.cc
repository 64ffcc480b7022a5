// SPDX-License-Identifier: GPL-2.0
/*
 * Points in time as users write them.
 */
#include "text/time_argument.h"

#include <algorithm>
#include <ctime>
#include <string_view>

#include "text/words.h"

namespace zemctl {

namespace {

/* Later times do not fit into the header of a record. */
constexpr std::uint64_t kLastSecond = UINT64_MAX / kSecondNs - 1;

/* Returns the nanoseconds of ".5", or of "". */
std::optional<std::uint64_t> parse_fraction(std::string_view text)
{
	constexpr std::size_t kPlaces = 9;
	if (text.empty())
		return 0;
	std::string digits(text.substr(1));
	if (text.front() != '.' || digits.empty() || digits.size() > kPlaces)
		return std::nullopt;
	digits.resize(kPlaces, '0');
	return parse_number<std::uint64_t>(digits);
}

std::optional<std::uint64_t> join(std::optional<std::uint64_t> seconds, std::string_view fraction)
{
	const auto nanoseconds = parse_fraction(fraction);
	if (!seconds || *seconds > kLastSecond || !nanoseconds)
		return std::nullopt;
	return *seconds * kSecondNs + *nanoseconds;
}

std::optional<std::uint64_t> parse_epoch(std::string_view text)
{
	const std::size_t dot = std::min(text.find('.'), text.size());
	return join(parse_number<std::uint64_t>(text.substr(0, dot)), text.substr(dot));
}

std::optional<std::uint64_t> parse_past(std::string_view text, std::uint64_t now)
{
	std::uint64_t unit = 0;
	switch (text.empty() ? '\0' : text.back()) {
	case 's':
		unit = 1;
		break;
	case 'm':
		unit = 60;
		break;
	case 'h':
		unit = 3600;
		break;
	case 'd':
		unit = 86400;
		break;
	default:
		return std::nullopt;
	}
	const auto count = parse_number<std::uint64_t>(text.substr(0, text.size() - 1));
	if (!count || *count > now / kSecondNs / unit)
		return std::nullopt;
	return now - *count * unit * kSecondNs;
}

std::tm calendar_of(std::uint64_t now, Calendar::Zone zone)
{
	const auto seconds = static_cast<std::time_t>(now / kSecondNs);
	std::tm calendar = {};
	if (zone == Calendar::Zone::kUtc)
		::gmtime_r(&seconds, &calendar);
	else
		::localtime_r(&seconds, &calendar);
	return calendar;
}

/* Return: the seconds, or nothing if the calendar has no such day or time. */
std::optional<std::uint64_t> seconds_of(const std::tm &wanted, Calendar::Zone zone)
{
	std::tm calendar = wanted;
	calendar.tm_isdst = -1;
	const std::time_t seconds = zone == Calendar::Zone::kUtc ? ::timegm(&calendar) :
								   ::mktime(&calendar);
	const bool exists = calendar.tm_mon == wanted.tm_mon &&
			    calendar.tm_mday == wanted.tm_mday && calendar.tm_sec == wanted.tm_sec;
	if (seconds < 0 || !exists)
		return std::nullopt;
	return static_cast<std::uint64_t>(seconds);
}

std::optional<std::uint64_t> parse_calendar(std::string text, std::uint64_t now,
					    Calendar::Zone zone)
{
	if (text.ends_with('Z')) {
		text.pop_back();
		zone = Calendar::Zone::kUtc;
	}
	for (const char *format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M",
				   "%Y-%m-%d %H:%M", "%Y-%m-%d", "%H:%M:%S", "%H:%M"}) {
		std::tm calendar = calendar_of(now, zone);
		calendar.tm_hour = calendar.tm_min = calendar.tm_sec = 0;
		const char *rest = ::strptime(text.c_str(), format, &calendar);
		const bool has_seconds = std::string_view(format).ends_with("%S");
		if (rest == nullptr || (*rest != '\0' && !(has_seconds && *rest == '.')))
			continue;
		return join(seconds_of(calendar, zone), rest);
	}
	return std::nullopt;
}

} // namespace

std::optional<std::uint64_t> parse_time(const std::string &text, std::uint64_t now,
					Calendar::Zone zone)
{
	if (text.starts_with('@'))
		return parse_epoch(std::string_view(text).substr(1));
	if (text.starts_with('-'))
		return parse_past(std::string_view(text).substr(1), now);
	return parse_calendar(text, now, zone);
}

} // namespace zemctl
