// SPDX-License-Identifier: GPL-2.0
/*
 * Bytes of unknown origin as something that is safe to show on a terminal.
 */
#include "text/text.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>

#include <fmt/format.h>

namespace zemctl {

namespace {

struct Character {
	std::uint32_t code;
	std::size_t size;
};

std::uint8_t at(Bytes bytes, std::size_t position)
{
	return std::to_integer<std::uint8_t>(bytes[position]);
}

/* The first character of @bytes, which is not empty, if it is well-formed UTF-8. */
std::optional<Character> decode(Bytes bytes)
{
	const std::uint8_t lead = at(bytes, 0);
	if (lead < 0x80)
		return Character{lead, 1};

	const std::size_t size = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
	if (lead < 0xc0 || lead > 0xf7 || size > bytes.size())
		return std::nullopt;
	std::uint32_t code = lead & (0x7fU >> size);
	for (std::size_t i = 1; i < size; i++) {
		const std::uint8_t next = at(bytes, i);
		if ((next & 0xc0) != 0x80)
			return std::nullopt;
		code = code << 6 | (next & 0x3fU);
	}

	constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
	const bool surrogate = code >= 0xd800 && code <= 0xdfff;
	if (code < kSmallest[size] || surrogate || code > 0x10ffff)
		return std::nullopt;
	return Character{code, size};
}

bool is_printable(std::uint32_t code)
{
	if (code == '\n' || code == '\t' || code == '\r')
		return true;
	const bool control = code < 0x20 || (code >= 0x7f && code < 0xa0);
	const bool separator = code == 0x2028 || code == 0x2029 || code == 0xfeff;
	const bool direction = (code >= 0x202a && code <= 0x202e) ||
			       (code >= 0x2066 && code <= 0x2069) || code == 0x200e ||
			       code == 0x200f || code == 0x061c;
	return !control && !separator && !direction;
}

} // namespace

bool is_text(Bytes bytes)
{
	while (!bytes.empty()) {
		const auto character = decode(bytes);
		if (!character || !is_printable(character->code))
			return false;
		bytes = bytes.subspan(character->size);
	}
	return true;
}

std::string quoted(Bytes text, std::size_t limit)
{
	std::string result = "\"";
	for (std::size_t count = 0; !text.empty(); count++) {
		if (count == limit)
			return result + "\"...";
		const std::size_t size = decode(text).value_or(Character{0, 1}).size;
		const char first = static_cast<char>(at(text, 0));
		switch (first) {
		case '\n':
			result += "\\n";
			break;
		case '\t':
			result += "\\t";
			break;
		case '\r':
			result += "\\r";
			break;
		case '"':
		case '\\':
			result += '\\';
			[[fallthrough]];
		default:
			result.append(reinterpret_cast<const char *>(text.data()), size);
		}
		text = text.subspan(size);
	}
	return result + '"';
}

std::string escaped(std::string_view text)
{
	std::string result;
	Bytes bytes = std::as_bytes(std::span(text));
	while (!bytes.empty()) {
		const auto character = decode(bytes);
		const bool shown = character && character->code >= 0x20 &&
				   is_printable(character->code);
		const std::size_t size = character ? character->size : 1;
		for (std::size_t i = 0; i < size; i++) {
			if (shown)
				result += static_cast<char>(at(bytes, i));
			else
				fmt::format_to(std::back_inserter(result), "\\x{:02x}",
					       at(bytes, i));
		}
		bytes = bytes.subspan(size);
	}
	return result;
}

std::string hex_preview(Bytes bytes, std::size_t limit)
{
	std::string result;
	for (std::size_t i = 0; i < bytes.size(); i++) {
		if (i == limit)
			return result + "...";
		if (i > 0 && i % 4 == 0)
			result += ' ';
		fmt::format_to(std::back_inserter(result), "{:02x}", at(bytes, i));
	}
	return result;
}

std::string hex_string(Bytes bytes)
{
	std::string result;
	result.reserve(2 * bytes.size());
	for (std::size_t i = 0; i < bytes.size(); i++)
		fmt::format_to(std::back_inserter(result), "{:02x}", at(bytes, i));
	return result;
}

std::string indented(std::string_view lines, std::string_view indent)
{
	std::string result;
	while (!lines.empty()) {
		const std::size_t size = std::min(lines.find('\n'), lines.size() - 1) + 1;
		result += indent;
		result += lines.substr(0, size);
		lines.remove_prefix(size);
	}
	return result;
}

std::string hex_dump(Bytes bytes, std::string_view indent)
{
	constexpr std::size_t kPerLine = 16;
	std::string result;
	auto out = std::back_inserter(result);
	for (std::size_t start = 0; start < bytes.size(); start += kPerLine) {
		const Bytes line = bytes.subspan(start, std::min(kPerLine, bytes.size() - start));
		std::string characters;
		fmt::format_to(out, "{}{:04x} ", indent, start);
		for (std::size_t i = 0; i < kPerLine; i++) {
			if (i == kPerLine / 2)
				result += ' ';
			if (i >= line.size()) {
				result += "   ";
				continue;
			}
			const std::uint8_t byte = at(line, i);
			fmt::format_to(out, " {:02x}", byte);
			characters += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '.';
		}
		fmt::format_to(out, "  |{}|\n", characters);
	}
	return result;
}

} // namespace zemctl
