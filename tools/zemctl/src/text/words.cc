// SPDX-License-Identifier: GPL-2.0
/*
 * Splits the texts of the module into lines and words.
 */
#include "text/words.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/errors.h"
#include "text/text.h"

namespace zemctl {

namespace {
constexpr std::size_t kQuoteLimit = 60;
}

std::string_view trimmed(std::string_view text)
{
	const std::size_t first = text.find_first_not_of(' ');
	if (first == std::string_view::npos)
		return {};
	return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string in_lower_case(std::string_view text)
{
	std::string lower(text);
	for (char &character : lower) {
		if (character >= 'A' && character <= 'Z')
			character = static_cast<char>(character - 'A' + 'a');
	}
	return lower;
}

std::vector<std::string_view> words_of(std::string_view text)
{
	std::vector<std::string_view> words;
	for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
		const std::size_t size = std::min(text.find(' '), text.size());
		words.push_back(text.substr(0, size));
		text.remove_prefix(size);
	}
	return words;
}

std::string_view first_line(std::string_view text)
{
	return text.substr(0, text.find('\n'));
}

std::string_view take_line(std::string_view &text)
{
	const std::string_view line = first_line(text);
	text.remove_prefix(std::min(line.size() + 1, text.size()));
	return line;
}

void not_understood(std::string_view line)
{
	throw Failure(fmt::format("not understood: \"{}\"", escaped(line.substr(0, kQuoteLimit))));
}

} // namespace zemctl
