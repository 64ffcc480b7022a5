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

std::uint8_t at(Bytes bytes, std::size_t position)
{
	return std::to_integer<std::uint8_t>(bytes[position]);
}

/* The printable characters of ASCII, which need no look into the tables of Unicode. */
bool is_plain(std::uint8_t byte)
{
	return byte >= 0x20 && byte < 0x7f;
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
	case UTF8PROC_CATEGORY_CF:
		/*
		 * Most are invisible, and some change the direction of writing. A few signs are
		 * drawn around the digits that follow.
		 */
		return property->boundclass == UTF8PROC_BOUNDCLASS_PREPEND;
	default:
		return true;
	}
}

} // namespace

std::optional<Character> decode_utf8(Bytes bytes)
{
	utf8proc_int32_t code = 0;
	const utf8proc_ssize_t size =
		utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t *>(bytes.data()),
				 static_cast<utf8proc_ssize_t>(bytes.size()), &code);
	if (size <= 0)
		return std::nullopt;
	return Character{code, static_cast<std::size_t>(size)};
}

bool is_text(Bytes bytes)
{
	while (!bytes.empty()) {
		if (is_plain(at(bytes, 0))) {
			bytes = bytes.subspan(1);
			continue;
		}
		const auto character = decode_utf8(bytes);
		if (!character || !is_printable(character->code))
			return false;
		bytes = bytes.subspan(character->size);
	}
	return true;
}

void append_quoted(TextBuffer &out, Bytes text, std::size_t limit)
{
	out.put('"');
	for (std::size_t count = 0; !text.empty(); count++) {
		if (count == limit)
			return static_cast<void>(out.put("\"..."));
		const char first = static_cast<char>(at(text, 0));
		const std::size_t size = is_plain(at(text, 0)) ?
						 1 :
						 decode_utf8(text).value_or(Character{0, 1}).size;
		switch (first) {
		case '\n':
			out.put("\\n");
			break;
		case '\t':
			out.put("\\t");
			break;
		case '\r':
			out.put("\\r");
			break;
		case '"':
		case '\\':
			out.put('\\');
			[[fallthrough]];
		default:
			out.put(std::string_view(reinterpret_cast<const char *>(text.data()),
						 size));
		}
		text = text.subspan(size);
	}
	out.put('"');
}

void append_escaped(TextBuffer &out, std::string_view text)
{
	Bytes bytes = std::as_bytes(std::span(text));
	while (!bytes.empty()) {
		if (is_plain(at(bytes, 0))) {
			out.put(static_cast<char>(at(bytes, 0)));
			bytes = bytes.subspan(1);
			continue;
		}
		const auto character = decode_utf8(bytes);
		const bool shown = character && character->code >= 0x20 &&
				   is_printable(character->code);
		const std::size_t size = character ? character->size : 1;
		for (std::size_t i = 0; i < size; i++) {
			if (shown)
				out.put(static_cast<char>(at(bytes, i)));
			else {
				write_hex(bytes.subspan(i, 1), out.put("\\x").room(2));
				out.add(2);
			}
		}
		bytes = bytes.subspan(size);
	}
}

std::string escaped(std::string_view text)
{
	TextBuffer buffer;
	append_escaped(buffer, text);
	return std::string(buffer.view());
}

void write_hex(Bytes bytes, char *to)
{
	constexpr char kDigits[] = "0123456789abcdef";
	for (const std::byte byte : bytes) {
		const auto value = std::to_integer<std::uint8_t>(byte);
		*to++ = kDigits[value >> 4];
		*to++ = kDigits[value & 0xf];
	}
}

void append_hex(TextBuffer &out, Bytes bytes, std::size_t limit)
{
	for (std::size_t i = 0; i < bytes.size(); i++) {
		if (i == limit)
			return static_cast<void>(out.put("..."));
		if (i > 0 && i % 4 == 0)
			out.put(' ');
		write_hex(bytes.subspan(i, 1), out.room(2));
		out.add(2);
	}
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
