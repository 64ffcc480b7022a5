/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Describes mistakes on the command line.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace zemctl {

/*
 * Returns what is wrong with the command line for which @app threw @error. An unknown command or
 * option is named, together with the known one that is nearest to it.
 */
std::string describe_usage_error(const CLI::App &app, const CLI::ParseError &error);

/* Returns that there is no @word, and the nearest of the @known words. */
std::string unknown_word(std::string_view kind, const std::string &word,
			 const std::vector<std::string> &known);

/* Returns the command that @app has parsed, with those above it: "zemctl set interval". */
std::string parsed_command(const CLI::App &app);

} // namespace zemctl
