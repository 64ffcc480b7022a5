/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Numbers as bars for a terminal.
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

/* What standard output and the locale can show; @ascii: bars of ASCII all the same. */
ViewStyle output_style(bool ascii);

/* The bar of @value, where @largest fills @cells; nothing for 0, never nothing for more. */
std::string bar(std::uint64_t value, std::uint64_t largest, std::size_t cells, BarStyle style);

/* One character of a height that shows @value; a space for 0. */
std::string level(std::uint64_t value, std::uint64_t largest, BarStyle style);

/* Ends the last line of @text, without the blanks that it ends with. */
void end_line(std::string &text);

/* Where the numbers of a row of bars begin: two spaces to ">=200 ms". */
inline constexpr std::size_t kBarLabelWidth = 10;

struct BarRow {
	std::string label;
	std::uint64_t value;
	std::string percent;
};

/* A line for each row; a bar of @largest ends at the terminal's edge. */
std::string bar_table(std::span<const BarRow> rows, std::uint64_t largest, const ViewStyle &style);

/* What rows show as the percentage of @value in @sum. */
std::string percent_of(std::uint64_t value, std::uint64_t sum);

} // namespace zemctl
