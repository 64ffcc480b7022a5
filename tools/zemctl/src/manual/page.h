/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A page of the manual: the prose about a command, and what the parser of the command line knows
 * about its arguments and options.
 */
#pragma once

#include <string>
#include <vector>

#include "manual/markup.h"

namespace CLI {
class App;
}

namespace zemctl {

struct Page {
	std::string name; /* "zemctl" or "zemctl-load" */
	std::vector<Block> blocks;
};

/* Returns the page of @command, a command below @root or @root itself. */
Page manual_page(const CLI::App &root, const CLI::App &command);

} // namespace zemctl
