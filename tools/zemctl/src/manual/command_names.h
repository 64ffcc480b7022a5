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
class Option;
} // namespace CLI

namespace zemctl {

/* Returns the commands below @app, except hidden ones, which are in no group. */
std::vector<const CLI::App *> commands_of(const CLI::App &app);
std::vector<std::string> command_names(const CLI::App &app);

/* Returns whether a word follows the name of @option: false for a flag. */
bool takes_value(const CLI::Option &option);

/* Returns the long options of all commands of @chain, with their dashes. */
std::vector<std::string> option_names(std::span<const CLI::App *const> chain);

} // namespace zemctl
