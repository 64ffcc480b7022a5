/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Converts bytes of unknown origin to text that is safe for a terminal.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "text/text_buffer.h"

namespace zemctl {

struct Character {
	std::int32_t code;
	std::size_t size;
};

/* Returns the first character of @bytes if it is well-formed UTF-8. @bytes is not empty. */
std::optional<Character> decode_utf8(Bytes bytes);

/*
 * Returns whether @bytes are text: UTF-8 that consists of printable characters, tabs and line ends.
 * Control characters are not text, nor are invisible characters and those that change the direction
 * of writing.
 */
bool is_text(Bytes bytes);

/*
 * Appends @text in quotes, with tabs, line ends, quotes and backslashes escaped. More than @limit
 * characters are cut off and replaced by "...".
 */
void append_quoted(TextBuffer &out, Bytes text, std::size_t limit);

/* The text in a field of the wire format. It ends at a zero byte or at the end of the field. */
template <std::size_t size>
std::string_view field_text(const char (&field)[size])
{
	return {field, ::strnlen(field, size)};
}

/*
 * Returns @bytes as one line of printable characters. Tabs, line ends and bytes that are not
 * printable become \xNN.
 */
std::string escaped(std::string_view bytes);
void append_escaped(TextBuffer &out, std::string_view bytes);

/*
 * Appends two hexadecimal digits for each byte, in groups of four bytes. More than @limit bytes are
 * cut off and replaced by "...".
 */
void append_hex(TextBuffer &out, Bytes bytes, std::size_t limit);

/* Writes two hexadecimal digits for each byte to @to. */
void write_hex(Bytes bytes, char *to);

/* Returns @lines with @indent in front of every line. */
std::string indented(std::string_view lines, std::string_view indent);

/* Returns lines of sixteen bytes: @indent, offset, hexadecimal digits, characters. */
std::string hex_dump(Bytes bytes, std::string_view indent);

} // namespace zemctl
