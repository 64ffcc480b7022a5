// SPDX-License-Identifier: GPL-2.0
/*
 * Formats points in time.
 */
#include "text/timestamp.h"

#include <ctime>

#include <fmt/chrono.h>

namespace zemctl {

std::string_view Calendar::format(std::uint64_t nanoseconds)
{
	const std::uint64_t second = nanoseconds / kSecondNs;
	if (second != second_) {
		const auto time = static_cast<std::time_t>(second);
		const std::tm fields = zone_ == Zone::kLocal ? fmt::localtime(time) :
							       fmt::gmtime(time);
		text_ = fmt::format("{:%F}{}{:%T}", fields, separator_, fields);
		second_ = second;
	}
	return text_;
}

} // namespace zemctl
