// SPDX-License-Identifier: GPL-2.0
/*
 * The markup of the manual's prose.
 */
#include "manual/markup.h"

#include <algorithm>

#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::string_view kTermIndent = "  ";

bool is_section(std::string_view line)
{
	return std::ranges::all_of(line, [](char character) {
		return (character >= 'A' && character <= 'Z') || character == ' ';
	});
}

} // namespace

std::vector<Block> parse_markup(std::string_view text)
{
	std::vector<Block> blocks;
	bool begins = true; /* the next line begins a block */
	while (!text.empty()) {
		const std::string_view line = take_line(text);
		if (line.empty()) {
			begins = true;
			continue;
		}
		if (begins) {
			const bool alone = text.empty() || text.starts_with('\n');
			const bool section = alone && is_section(line);
			blocks.push_back({section ? BlockKind::kSection : BlockKind::kParagraph,
					  std::string(line)});
			begins = false;
			continue;
		}
		Block &block = blocks.back();
		if (block.kind == BlockKind::kParagraph && line.starts_with(kTermIndent)) {
			block = {BlockKind::kTerm, std::string(trimmed(line)), block.text};
			continue;
		}
		block.text += ' ';
		block.text += trimmed(line);
	}
	return blocks;
}

} // namespace zemctl
