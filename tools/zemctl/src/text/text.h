/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Converts bytes of unknown origin to text that is safe for a terminal.
 */
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace zemctl {

/*
 * Returns whether @bytes are text: UTF-8 that consists of printable characters, tabs and line ends.
 * Control characters are not text, nor are characters that change the direction of writing.
 */
bool is_text(Bytes bytes);

/*
 * Returns @text in quotes, with tabs, line ends, quotes and backslashes escaped. More than @limit
 * characters are cut off and replaced by "...".
 */
std::string quoted(Bytes text, std::size_t limit);

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

/*
 * Returns two hexadecimal digits for each byte, in groups of four bytes. More than @limit bytes are
 * cut off and replaced by "...".
 */
std::string hex_preview(Bytes bytes, std::size_t limit);

/* Returns two hexadecimal digits for each byte. */
std::string hex_string(Bytes bytes);

/* Returns @lines with @indent in front of every line. */
std::string indented(std::string_view lines, std::string_view indent);

/* Returns lines of sixteen bytes: @indent, offset, hexadecimal digits, characters. */
std::string hex_dump(Bytes bytes, std::string_view indent);

} // namespace zemctl
