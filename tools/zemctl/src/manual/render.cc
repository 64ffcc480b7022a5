// SPDX-License-Identifier: GPL-2.0
/*
 * Renders pages of the manual.
 */
#include "manual/render.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "text/fit.h"
#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::size_t kTextIndent = 4;

void replace_all(std::string &text, std::string_view from, std::string_view to)
{
	for (std::size_t at = text.find(from); at != std::string::npos;
	     at = text.find(from, at + to.size()))
		text.replace(at, from.size(), to);
}

/* Returns @text without markup. */
std::string plain(std::string text)
{
	std::erase(text, '`');
	replace_all(text, kNoBreak, " ");
	return text;
}

/* Appends the words of @text to @out, in lines of at most @columns that begin with @indent. */
void wrap(std::string &out, std::string_view text, std::size_t indent, std::size_t columns)
{
	std::string line;
	const auto end_line = [&] {
		out += std::string(indent, ' ') + plain(line) + '\n';
		line.clear();
	};
	for (const std::string_view word : words_of(text)) {
		if (!line.empty() &&
		    indent + columns_of(plain(line)) + 1 + columns_of(plain(std::string(word))) >
			    columns)
			end_line();
		line += line.empty() ? "" : " ";
		line += word;
	}
	end_line();
}

/* Returns @text with the words of the command line in bold. */
std::string roff_text(std::string_view text)
{
	std::string result;
	bool is_bold = false;
	for (const char character : text) {
		switch (character) {
		case '`':
			is_bold = !is_bold;
			result += is_bold ? "\\fB" : "\\fR";
			break;
		case '\\':
			result += "\\e";
			break;
		case '-':
			result += "\\-";
			break;
		default:
			result += character;
		}
	}
	replace_all(result, kNoBreak, "\\ ");
	/* At the start of a line these would begin a request. */
	if (result.starts_with('.') || result.starts_with('\''))
		result.insert(0, "\\&");
	return result;
}

std::string capitals(std::string text)
{
	std::ranges::transform(text, text.begin(), [](unsigned char character) {
		return static_cast<char>(std::toupper(character));
	});
	return text;
}

} // namespace

std::string text_of(std::span<const Block> blocks, std::size_t columns)
{
	std::string out;
	bool after_section = true;
	for (const Block &block : blocks) {
		if (!after_section)
			out += '\n';
		after_section = block.kind == BlockKind::kSection;
		switch (block.kind) {
		case BlockKind::kSection:
			out += block.text + '\n';
			break;
		case BlockKind::kParagraph:
			wrap(out, block.text, kTextIndent, columns);
			break;
		case BlockKind::kTerm:
			out += std::string(kTextIndent, ' ') + plain(block.term) + '\n';
			wrap(out, block.text, 2 * kTextIndent, columns);
			break;
		}
	}
	return out;
}

std::string roff_of(const Page &page)
{
	std::string out = fmt::format(".TH {} 1 {} \"zem {}\" \"zem\"\n", capitals(page.name),
				      ZEMCTL_RELEASED, ZEMCTL_VERSION);
	bool after_section = false;
	for (const Block &block : page.blocks) {
		switch (block.kind) {
		case BlockKind::kSection:
			out += fmt::format(".SH {}\n", block.text);
			break;
		case BlockKind::kParagraph:
			if (!after_section)
				out += ".PP\n";
			out += roff_text(block.text) + '\n';
			break;
		case BlockKind::kTerm:
			out += fmt::format(".TP\n{}\n{}\n", roff_text(block.term),
					   roff_text(block.text));
			break;
		}
		after_section = block.kind == BlockKind::kSection;
	}
	return out;
}

} // namespace zemctl
