// SPDX-License-Identifier: GPL-2.0
/*
 * Formats points in time.
 */
#include "text/timestamp.h"

#include <cstdlib>
#include <ctime>

#include <fmt/chrono.h>

namespace zemctl {

std::string_view Calendar::format(std::uint64_t nanoseconds)
{
	use(nanoseconds);
	return text_;
}

long Calendar::offset(std::uint64_t nanoseconds)
{
	use(nanoseconds);
	return offset_;
}

void Calendar::use(std::uint64_t nanoseconds)
{
	const std::uint64_t second = nanoseconds / kSecondNs;
	if (second == second_)
		return;
	const auto time = static_cast<std::time_t>(second);
	const std::tm fields = zone_ == Zone::kLocal ? fmt::localtime(time) : fmt::gmtime(time);
	text_ = fmt::format("{:%F}{}{:%T}", fields, separator_, fields);
	offset_ = fields.tm_gmtoff;
	second_ = second;
}

std::string offset_text(long offset)
{
	const long minutes = std::labs(offset) / 60;
	return fmt::format("{}{:02}:{:02}", offset < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

} // namespace zemctl
