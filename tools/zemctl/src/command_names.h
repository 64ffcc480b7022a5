/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The words that a user may write on the command line.
 */
#pragma once

#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace zemctl {

/* Returns the long options of all commands of @chain, with their dashes. */
std::vector<std::string> option_names(std::span<const CLI::App *const> chain);

/* Returns the commands below @app, except hidden ones, which are in no group. */
std::vector<std::string> command_names(const CLI::App &app);

} // namespace zemctl
