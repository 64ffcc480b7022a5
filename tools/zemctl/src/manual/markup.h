/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The markup of the manual's prose:
 *
 *	A PARAGRAPH OF ONE LINE IN CAPITALS		begins a section
 *	a paragraph, with `words` of the command line
 *	a term						or an example,
 *	  and its explanation				indented by two blanks
 *
 * Empty lines separate them. A no-break space separates words that belong on one line.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zemctl {

inline constexpr std::string_view kNoBreak = "\u00a0";

enum class BlockKind : std::uint8_t { kSection, kParagraph, kTerm };

struct Block {
	BlockKind kind;
	std::string text; /* without line ends, with backquotes */
	std::string term = {}; /* of a term */
};

std::vector<Block> parse_markup(std::string_view text);

} // namespace zemctl
