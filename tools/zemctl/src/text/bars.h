/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Draws numbers as bars for a terminal.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace zemctl {

enum class BarStyle { kBlocks, kAscii };

struct ViewStyle {
	std::size_t width = 80;
	BarStyle bars = BarStyle::kBlocks;
};

/* The style that fits standard output and the locale. @ascii forces bars of ASCII characters. */
ViewStyle output_style(bool ascii);

/* The bar of @value, scaled so that @largest fills @cells. Only a @value of 0 has an empty bar. */
std::string bar(std::uint64_t value, std::uint64_t largest, std::size_t cells, BarStyle style);

/* One character whose height shows @value relative to @largest; a space for 0. */
std::string level(std::uint64_t value, std::uint64_t largest, BarStyle style);

/* Ends the last line of @text and removes the blanks at its end. */
void end_line(std::string &text);

/* The width of the labels in a table of bars: two spaces and ">=200 ms". */
inline constexpr std::size_t kBarLabelWidth = 10;

struct BarRow {
	std::string label;
	std::uint64_t value;
	std::string percent;
};

/* One line for each row. The bar of @largest ends at the edge of the terminal. */
std::string bar_table(std::span<const BarRow> rows, std::uint64_t largest, const ViewStyle &style);

/* The percentage of @value in @sum, as bar_table() shows it. */
std::string percent_of(std::uint64_t value, std::uint64_t sum);

} // namespace zemctl
