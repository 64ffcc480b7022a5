// SPDX-License-Identifier: GPL-2.0
/*
 * Fits text to the columns of a terminal.
 */
#include "text/fit.h"

#include <algorithm>
#include <cstdint>

#include <unistd.h>
#include <utf8proc.h>

#include "text/output.h"
#include "text/terminal.h"
#include "text/text.h"

namespace zemctl {

namespace {

/* A character, or a sequence that changes the colour. */
struct Piece {
	std::size_t size;
	std::size_t columns;
};

Piece first_piece(std::string_view text)
{
	if (text.starts_with("\x1b["))
		return {std::min(text.find('m'), text.size() - 1) + 1, 0};
	const auto first = static_cast<std::uint8_t>(text.front());
	if (first < 0x80)
		return {1, 1};
	const auto character = decode_utf8(std::as_bytes(std::span(text)));
	if (!character)
		return {1, 1};
	return {character->size, static_cast<std::size_t>(utf8proc_charwidth(character->code))};
}

/* Appends the sequences that change the colour in @text. */
void append_colours(TextBuffer &out, std::string_view text)
{
	while (!text.empty()) {
		const Piece piece = first_piece(text);
		if (text.front() == '\x1b')
			out.put(text.substr(0, piece.size));
		text.remove_prefix(piece.size);
	}
}

void append_fitted_line(TextBuffer &out, std::string_view line, std::size_t columns)
{
	if (columns_of(line) <= columns)
		return static_cast<void>(out.put(line));
	const std::string_view ellipsis = locale_is_utf8() ? "…" : ">";
	for (std::size_t column = 0;;) {
		const Piece piece = first_piece(line);
		column += piece.columns;
		if (column >= columns)
			break;
		out.put(line.substr(0, piece.size));
		line.remove_prefix(piece.size);
	}
	out.put(ellipsis);
	append_colours(out, line);
}

} // namespace

std::size_t columns_of(std::string_view text)
{
	std::size_t columns = 0;
	while (!text.empty()) {
		const Piece piece = first_piece(text);
		columns += piece.columns;
		text.remove_prefix(piece.size);
	}
	return columns;
}

void append_fitted(TextBuffer &out, std::string_view lines, std::size_t columns)
{
	while (!lines.empty()) {
		const std::size_t size = std::min(lines.find('\n'), lines.size());
		append_fitted_line(out, lines.substr(0, size), columns);
		lines.remove_prefix(size);
		if (lines.empty())
			break;
		out.put('\n');
		lines.remove_prefix(1);
	}
}

void write_table_to_stdout(std::string_view lines)
{
	if (::isatty(STDOUT_FILENO) != 1)
		return write_to_stdout(lines);
	TextBuffer fitted;
	append_fitted(fitted, lines, terminal_width(STDOUT_FILENO));
	write_to_stdout(fitted.view());
}

} // namespace zemctl
