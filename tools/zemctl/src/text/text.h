/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Bytes of unknown origin as something that is safe to show on a terminal.
 */
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace zemctl {

/*
 * Is it text: UTF-8 of printable characters, tabs and line ends? Control characters, also those
 * that UTF-8 can spell and those that turn the writing direction, make it data.
 */
bool is_text(Bytes bytes);

/* Text in quotes with tabs, line ends and quotes escaped; cut to @limit characters and "...". */
std::string quoted(Bytes text, std::size_t limit);

/* What a field of the wire format holds; text fills it in a payload that no kernel made. */
template <std::size_t size>
std::string_view field_text(const char (&field)[size])
{
	return {field, ::strnlen(field, size)};
}

/* One line of printable characters: tabs, line ends and what is not printable as \xNN. */
std::string escaped(std::string_view bytes);

/* Two digits a byte, in groups of four bytes; cut to @limit bytes and "...". */
std::string hex_preview(Bytes bytes, std::size_t limit);

/* Two digits a byte, nothing else. */
std::string hex_string(Bytes bytes);

/* Puts @indent in front of every line of @lines, each of which ends with a line end. */
std::string indented(std::string_view lines, std::string_view indent);

/* Lines of sixteen bytes: offset, hex, characters. Each line starts with @indent. */
std::string hex_dump(Bytes bytes, std::string_view indent);

} // namespace zemctl
