// SPDX-License-Identifier: GPL-2.0
/*
 * Draws numbers as bars for a terminal.
 */
#include "text/bars.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

#include <fmt/format.h>
#include <unistd.h>

#include "text/terminal.h"

namespace zemctl {

namespace {

constexpr std::size_t kEighths = 8;
constexpr std::size_t kValueMin = 8;
constexpr std::size_t kPercentWidth = 5; /* "100.0" */
constexpr std::size_t kBarMin = 10;

/*
 * The last byte of the UTF-8 of U+2588, a full block. The partial blocks have the code points
 * around it.
 */
constexpr char kFullBlock = static_cast<char>(0x88);

std::string block(char last_byte)
{
	return {static_cast<char>(0xe2), static_cast<char>(0x96), last_byte};
}

/* Scales @value to @parts, which stand for @largest. Return: at least 1, except for a @value of 0.
 */
std::size_t scaled(std::uint64_t value, std::uint64_t largest, std::size_t parts)
{
	if (value == 0 || largest == 0)
		return 0;
	const double share = static_cast<double>(value) / static_cast<double>(largest);
	const auto rounded =
		static_cast<std::size_t>(std::lround(share * static_cast<double>(parts)));
	return std::max<std::size_t>(rounded, 1);
}

} // namespace

ViewStyle output_style(bool ascii)
{
	const bool blocks = !ascii && locale_is_utf8();
	return {terminal_width(STDOUT_FILENO), blocks ? BarStyle::kBlocks : BarStyle::kAscii};
}

std::string bar(std::uint64_t value, std::uint64_t largest, std::size_t cells, BarStyle style)
{
	if (style == BarStyle::kAscii)
		return std::string(scaled(value, largest, cells), '#');
	const std::size_t eighths = scaled(value, largest, cells * kEighths);
	std::string result;
	for (std::size_t i = 0; i < eighths / kEighths; i++)
		result += block(kFullBlock);
	/* U+2589 to U+258F are blocks of seven eighths to one eighth. */
	if (eighths % kEighths != 0)
		result += block(static_cast<char>(0x90 - eighths % kEighths));
	return result;
}

std::string level(std::uint64_t value, std::uint64_t largest, BarStyle style)
{
	const std::size_t height = scaled(value, largest, kEighths);
	if (height == 0)
		return " ";
	if (style == BarStyle::kAscii)
		return std::string(1, ".:-=+*#@"[height - 1]);
	/* U+2581 to U+2588 are blocks of one eighth to the full height. */
	return block(static_cast<char>(0x80 + height));
}

void end_line(std::string &text)
{
	text.erase(text.find_last_not_of(' ') + 1);
	text += '\n';
}

std::string bar_table(std::span<const BarRow> rows, std::uint64_t largest, const ViewStyle &style)
{
	std::size_t value_width = kValueMin;
	for (const BarRow &row : rows)
		value_width = std::max(value_width, fmt::formatted_size("{}", row.value));
	const std::size_t before_bar = kBarLabelWidth + 2 + value_width + 2 + kPercentWidth +
				       std::string_view(" %  ").size();
	const std::size_t cells = style.width > before_bar + kBarMin ? style.width - before_bar :
								       kBarMin;
	std::string text;
	for (const BarRow &row : rows) {
		fmt::format_to(std::back_inserter(text), "{:>{}}  {:>{}}  {:>{}} %  {}", row.label,
			       kBarLabelWidth, row.value, value_width, row.percent, kPercentWidth,
			       bar(row.value, largest, cells, style.bars));
		end_line(text);
	}
	return text;
}

std::string percent_of(std::uint64_t value, std::uint64_t sum)
{
	const double percent =
		sum == 0 ? 0 : 100 * static_cast<double>(value) / static_cast<double>(sum);
	return fmt::format("{:.1f}", percent);
}

} // namespace zemctl
