// SPDX-License-Identifier: GPL-2.0
/*
 * Describes mistakes on the command line.
 */
#include "usage_error.h"

#include <vector>

#include <fmt/format.h>

#include "manual/command_names.h"
#include "text/nearest.h"
#include "text/text.h"

namespace zemctl {

namespace {

/* Returns @app and the commands below it that were parsed, the innermost last. */
std::vector<const CLI::App *> parsed_chain(const CLI::App &app)
{
	std::vector<const CLI::App *> chain = {&app};
	while (true) {
		const auto below = chain.back()->get_subcommands();
		if (below.empty())
			return chain;
		chain.push_back(below.back());
	}
}

} // namespace

std::string unknown_word(std::string_view kind, const std::string &word,
			 const std::vector<std::string> &known)
{
	std::string text = fmt::format("there is no {} {}", kind, escaped(word));
	if (const auto nearest = nearest_word(word, known))
		text += fmt::format("; the nearest is {}", *nearest);
	return text;
}

std::string parsed_command(const CLI::App &app)
{
	std::string text;
	for (const CLI::App *command : parsed_chain(app))
		text += (text.empty() ? "" : " ") + command->get_name();
	return text;
}

std::string describe_usage_error(const CLI::App &app, const CLI::ParseError &error)
{
	const auto chain = parsed_chain(app);
	const std::vector<std::string> rest = app.remaining(true);
	/* A missing argument or command is a consequence of the word that was not understood. */
	const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
	if (code != CLI::ExitCodes::RequiredError && code != CLI::ExitCodes::ExtrasError)
		return error.what();
	for (const std::string &word : rest) {
		if (word.starts_with("--"))
			return unknown_word("option", word.substr(0, word.find('=')),
					    option_names(chain));
		if (word.starts_with('-') && word.size() > 1)
			return unknown_word("option", word, {});
	}
	const std::vector<std::string> commands = command_names(*chain.back());
	if (!rest.empty() && !commands.empty())
		return unknown_word("command", rest.front(), commands);
	if (!rest.empty())
		return fmt::format("one argument too many: {}", escaped(rest.front()));
	if (!commands.empty())
		return fmt::format("{} requires a command: {}", parsed_command(app),
				   fmt::join(commands, ", "));
	return error.what();
}

} // namespace zemctl
