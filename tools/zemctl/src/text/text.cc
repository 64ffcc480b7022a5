// SPDX-License-Identifier: GPL-2.0
/*
 * Converts bytes of unknown origin to text that is safe for a terminal.
 */
#include "text/text.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>

#include <fmt/format.h>
#include <utf8proc.h>

namespace zemctl {

namespace {

constexpr utf8proc_int32_t kArabicLetterMark = 0x61c;
constexpr utf8proc_int32_t kLeftToRightMark = 0x200e;
constexpr utf8proc_int32_t kRightToLeftMark = 0x200f;
constexpr utf8proc_int32_t kByteOrderMark = 0xfeff;

struct Character {
	utf8proc_int32_t code;
	std::size_t size;
};

std::uint8_t at(Bytes bytes, std::size_t position)
{
	return std::to_integer<std::uint8_t>(bytes[position]);
}

/* Returns the first character of @bytes if it is well-formed UTF-8. @bytes is not empty. */
std::optional<Character> decode(Bytes bytes)
{
	utf8proc_int32_t code = 0;
	const utf8proc_ssize_t size =
		utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t *>(bytes.data()),
				 static_cast<utf8proc_ssize_t>(bytes.size()), &code);
	if (size <= 0)
		return std::nullopt;
	return Character{code, static_cast<std::size_t>(size)};
}

/*
 * Returns whether the character controls the direction of text: embeddings, overrides, isolates,
 * their ends, and the three marks.
 */
bool turns_direction(utf8proc_int32_t code, int bidi_class)
{
	switch (bidi_class) {
	case UTF8PROC_BIDI_CLASS_LRE:
	case UTF8PROC_BIDI_CLASS_RLE:
	case UTF8PROC_BIDI_CLASS_LRO:
	case UTF8PROC_BIDI_CLASS_RLO:
	case UTF8PROC_BIDI_CLASS_PDF:
	case UTF8PROC_BIDI_CLASS_LRI:
	case UTF8PROC_BIDI_CLASS_RLI:
	case UTF8PROC_BIDI_CLASS_FSI:
	case UTF8PROC_BIDI_CLASS_PDI:
		return true;
	default:
		/* The marks have the classes of letters. */
		return code == kLeftToRightMark || code == kRightToLeftMark ||
		       code == kArabicLetterMark;
	}
}

bool is_printable(utf8proc_int32_t code)
{
	if (code == '\n' || code == '\t' || code == '\r')
		return true;
	const utf8proc_property_t *property = utf8proc_get_property(code);
	switch (property->category) {
	case UTF8PROC_CATEGORY_CC:
	case UTF8PROC_CATEGORY_ZL:
	case UTF8PROC_CATEGORY_ZP:
		return false;
	default:
		return code != kByteOrderMark && !turns_direction(code, property->bidi_class);
	}
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
