// SPDX-License-Identifier: GPL-2.0
/*
 * The words that a user may write on the command line.
 */
#include "manual/command_names.h"

#include <CLI/CLI.hpp>

namespace zemctl {

std::vector<std::string> option_names(std::span<const CLI::App *const> chain)
{
	std::vector<std::string> names;
	for (const CLI::App *command : chain) {
		for (const CLI::Option *option : command->get_options()) {
			for (const std::string &name : option->get_lnames())
				names.push_back("--" + name);
		}
	}
	return names;
}

std::vector<const CLI::App *> commands_of(const CLI::App &app)
{
	return app.get_subcommands(
		[](const CLI::App *command) { return !command->get_group().empty(); });
}

std::vector<std::string> command_names(const CLI::App &app)
{
	std::vector<std::string> names;
	for (const CLI::App *command : commands_of(app))
		names.push_back(command->get_name());
	return names;
}

bool takes_value(const CLI::Option &option)
{
	return option.get_items_expected_max() > 0 && option.get_type_size_max() > 0;
}

} // namespace zemctl
