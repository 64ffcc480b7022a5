// SPDX-License-Identifier: GPL-2.0
/*
 * Formats values for narrow columns.
 */
#include "top/cells.h"

#include <algorithm>
#include <array>
#include <span>

#include <fmt/format.h>

#include <linux/zem.h>

#include "decode/health.h"
#include "text/fit.h"

namespace zemctl {

namespace {

struct Unit {
	double size;
	std::string_view name;
};

constexpr std::array kTimeUnits = {Unit{1e3, "us"}, Unit{1e6, "ms"}, Unit{1e9, "s"}};
constexpr std::array kSizeUnits = {Unit{1, "B"}, Unit{1e3, "kB"}, Unit{1e6, "MB"}, Unit{1e9, "GB"},
				   Unit{1e12, "TB"}};

/* Three digits that count. The limits are where a rounded value has one digit more. */
std::string three_digits(double value)
{
	if (value < 9.995)
		return fmt::format("{:.2f}", value);
	if (value < 99.95)
		return fmt::format("{:.1f}", value);
	return fmt::format("{:.0f}", value);
}

std::string in_units(double value, std::span<const Unit> units)
{
	std::size_t unit = 0;
	while (unit + 1 < units.size() && value / units[unit].size >= 999.5)
		unit++;
	return three_digits(value / units[unit].size) + std::string(units[unit].name);
}

} // namespace

std::string fitted(std::string_view text, std::size_t columns)
{
	if (columns == 0)
		return {};
	TextBuffer cell;
	append_fitted(cell, text, columns);
	std::string result(cell.view());
	const std::size_t used = columns_of(result);
	result.append(columns - std::min(used, columns), ' ');
	return result;
}

std::string duration_text(std::uint64_t nanoseconds)
{
	return nanoseconds == 0 ? "0" : in_units(static_cast<double>(nanoseconds), kTimeUnits);
}

std::string duration_text(std::optional<std::uint64_t> nanoseconds)
{
	return !nanoseconds || has_wrapped(*nanoseconds) ? "-" : duration_text(*nanoseconds);
}

std::string size_text(double bytes)
{
	return bytes < 999.5 ? fmt::format("{:.0f}B", bytes) : in_units(bytes, kSizeUnits);
}

std::string capacity_text(std::uint64_t usage)
{
	return fmt::format("{:.1f}", 100 * static_cast<double>(usage) / ZEM_CAPACITY_FULL);
}

} // namespace zemctl
