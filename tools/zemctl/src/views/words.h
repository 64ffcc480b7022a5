/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Lines and words of the text files that the module makes.
 */
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace zemctl {

/* Without the blanks at both ends. */
std::string_view trimmed(std::string_view text);

/* What is between blanks. */
std::vector<std::string_view> words_of(std::string_view text);

/* The first line of @text, without its line end. */
std::string_view first_line(std::string_view text);

/* Takes the first line off @text; what it returns has no line end. */
std::string_view take_line(std::string_view &text);

/* Throws a Failure that quotes the start of @line. */
[[noreturn]] void not_understood(std::string_view line);

/* The whole of @word as a decimal number. */
template <typename Number>
std::optional<Number> parse_number(std::string_view word)
{
	Number value = 0;
	const char *end = word.data() + word.size();
	/* NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): @end bounds what is read. */
	const auto parsed = std::from_chars(word.data(), end, value);
	if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end)
		return std::nullopt;
	return value;
}

/* Throws where @word of @line is no number. */
template <typename Number>
Number number_of(std::string_view word, std::string_view line)
{
	const auto value = parse_number<Number>(word);
	if (!value)
		not_understood(line);
	return *value;
}

} // namespace zemctl
