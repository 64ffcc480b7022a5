/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Splits the texts of the module into lines and words.
 */
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace zemctl {

/* Returns @text without the blanks at its ends. */
std::string_view trimmed(std::string_view text);

/* Returns @text with the letters of ASCII in lower case, in any locale. */
std::string in_lower_case(std::string_view text);

/* Returns the words of @text, which blanks separate. */
std::vector<std::string_view> words_of(std::string_view text);

/* Returns the first line of @text without its line end. */
std::string_view first_line(std::string_view text);

/* Removes the first line from @text and returns it without its line end. */
std::string_view take_line(std::string_view &text);

/* Throws a Failure that quotes the start of @line. */
[[noreturn]] void not_understood(std::string_view line);

/* Returns @word as a decimal number, or nothing if it is not one. */
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

/* Returns @word of @line as a number. Throws a Failure that quotes @line if it is not one. */
template <typename Number>
Number number_of(std::string_view word, std::string_view line)
{
	const auto value = parse_number<Number>(word);
	if (!value)
		not_understood(line);
	return *value;
}

} // namespace zemctl
