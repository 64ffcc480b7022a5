// SPDX-License-Identifier: GPL-2.0
/*
 * The examples at the end of a command's help.
 */
#include "manual/examples.h"

#include <algorithm>

#include "manual/render.h"
#include "manual/texts.h"

namespace zemctl {

std::string examples_of(std::string_view command)
{
	std::vector<Block> blocks = parse_markup(manual_text(command));
	const auto begin = std::ranges::find_if(blocks, [](const Block &block) {
		return block.kind == BlockKind::kSection && block.text == "EXAMPLES";
	});
	blocks.erase(blocks.begin(), begin);
	return text_of(blocks);
}

} // namespace zemctl
