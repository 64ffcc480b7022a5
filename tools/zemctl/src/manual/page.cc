// SPDX-License-Identifier: GPL-2.0
/*
 * A page of the manual.
 */
#include "manual/page.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "manual/command_names.h"
#include "manual/texts.h"

namespace zemctl {

namespace {

std::string bold(std::string_view text)
{
	return fmt::format("`{}`", text);
}

std::vector<const CLI::Option *> options_of(const CLI::App &app, bool positional)
{
	std::vector<const CLI::Option *> options;
	for (const CLI::Option *option : app.get_options()) {
		if (option != app.get_help_ptr() && option->get_positional() == positional)
			options.push_back(option);
	}
	return options;
}

/* Returns the placeholder of a value: N, or on|off for a few fixed values. */
std::string value_of(const CLI::Option &option)
{
	constexpr std::size_t kLongest = 20;
	const std::string type = option.get_type_name();
	const std::size_t begin = type.find('{');
	if (begin == std::string::npos)
		return type.substr(0, type.find(':'));
	std::string values = type.substr(begin + 1, type.rfind('}') - begin - 1);
	if (values.size() > kLongest)
		return "NAME";
	std::ranges::replace(values, ',', '|');
	return values;
}

/* Returns "-o, --output FILE", or "FILE" for a positional argument. */
std::string usage_of(const CLI::Option &option, std::string_view separator = ", ")
{
	if (option.get_positional())
		return option.get_name(true);
	std::vector<std::string> names;
	for (const std::string &name : option.get_snames())
		names.push_back(bold("-" + name));
	for (const std::string &name : option.get_lnames())
		names.push_back(bold("--" + name));
	std::string text = fmt::format("{}", fmt::join(names, separator));
	if (takes_value(option))
		text += std::string(kNoBreak) + value_of(option);
	return text;
}

std::string synopsis_of(const CLI::Option &option)
{
	const std::string text = usage_of(option, " | ");
	return option.get_required() ? text : "[" + text + "]";
}

void add_synopsis(std::vector<Block> &blocks, const std::string &name, const CLI::App &command)
{
	const auto below = commands_of(command);
	for (const CLI::App *part : below)
		add_synopsis(blocks, name + ' ' + part->get_name(), *part);
	if (!below.empty())
		return;
	std::string text = bold(name);
	for (const bool positional : {true, false})
		for (const CLI::Option *option : options_of(command, positional))
			text += ' ' + synopsis_of(*option);
	blocks.push_back({BlockKind::kParagraph, std::move(text)});
}

void add_options(std::vector<Block> &blocks, const CLI::App &command)
{
	for (const bool positional : {true, false})
		for (const CLI::Option *option : options_of(command, positional))
			blocks.push_back({BlockKind::kTerm, option->get_description() + '.',
					  usage_of(*option)});
	for (const CLI::App *part : commands_of(command)) {
		blocks.push_back(
			{BlockKind::kTerm, part->get_description() + '.', bold(part->get_name())});
		add_options(blocks, *part);
	}
}

void add_section(std::vector<Block> &blocks, const char *title)
{
	blocks.push_back({BlockKind::kSection, title});
}

/* Returns "show records as they arrive" for the description of a command. */
std::string summary_of(const CLI::App &command)
{
	std::string text = command.get_description();
	text.resize(std::min(text.find(". "), text.size()));
	text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
	return text;
}

void add_see_also(std::vector<Block> &blocks, const CLI::App &root, const CLI::App &command)
{
	add_section(blocks, "SEE ALSO");
	std::string text;
	if (&root == &command)
		for (const CLI::App *part : commands_of(root))
			text += fmt::format("`{}-{}`(1), ", root.get_name(), part->get_name());
	else
		text += fmt::format("`{}`(1), ", root.get_name());
	blocks.push_back({BlockKind::kParagraph, text + "`zem`(4), `zem-capture`(5)"});
}

} // namespace

Page manual_page(const CLI::App &root, const CLI::App &command)
{
	const bool is_root = &root == &command;
	Page page = {is_root ? root.get_name() :
			       fmt::format("{}-{}", root.get_name(), command.get_name()),
		     {}};
	std::vector<Block> &blocks = page.blocks;
	add_section(blocks, "NAME");
	blocks.push_back({BlockKind::kParagraph, page.name + " - " + summary_of(command)});
	add_section(blocks, "SYNOPSIS");
	if (is_root)
		blocks.push_back(
			{BlockKind::kParagraph, "`zemctl` [OPTION]... COMMAND [ARGUMENT]..."});
	else
		add_synopsis(blocks, root.get_name() + ' ' + command.get_name(), command);
	add_section(blocks, "DESCRIPTION");
	std::vector<Block> prose = parse_markup(manual_text(command.get_name()));
	const auto end = std::ranges::find(prose, BlockKind::kSection, &Block::kind);
	std::move(prose.begin(), end, std::back_inserter(blocks));
	if (is_root) {
		add_section(blocks, "COMMANDS");
		for (const CLI::App *part : commands_of(root))
			blocks.push_back({BlockKind::kTerm, part->get_description() + '.',
					  bold(part->get_name())});
		add_section(blocks, "OPTIONS");
		for (const CLI::Option *option : options_of(root, false))
			blocks.push_back({BlockKind::kTerm, option->get_description() + '.',
					  usage_of(*option)});
	} else if (!options_of(command, true).empty() || !options_of(command, false).empty() ||
		   !commands_of(command).empty()) {
		add_section(blocks, "OPTIONS");
		add_options(blocks, command);
	}
	std::move(end, prose.end(), std::back_inserter(blocks));
	add_see_also(blocks, root, command);
	return page;
}

} // namespace zemctl
