// SPDX-License-Identifier: GPL-2.0
/*
 * Completes a command line.
 */
#include "completion.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "manual/command_names.h"

namespace zemctl {

namespace {

/* The state of the parser before the word at the cursor. */
struct Place {
	std::vector<const CLI::App *> chain; /* the commands, the innermost last */
	const CLI::Option *pending = nullptr; /* an option that expects a value */
	std::size_t arguments = 0; /* of the innermost command */
};

const CLI::Option *find_option(const Place &place, const std::string &word)
{
	for (const CLI::App *command : place.chain) {
		for (const CLI::Option *option : command->get_options()) {
			if (!option->nonpositional() || !option->check_name(word))
				continue;
			return option;
		}
	}
	return nullptr;
}

const CLI::App *find_command(const CLI::App &app, const std::string &word)
{
	const auto commands = app.get_subcommands(
		[&word](const CLI::App *command) { return command->get_name() == word; });
	return commands.empty() ? nullptr : commands.front();
}

Place place_after(const CLI::App &app, std::span<const std::string> words)
{
	Place place = {.chain = {&app}};
	for (const std::string &word : words) {
		if (place.pending != nullptr) {
			place.pending = nullptr;
		} else if (word.starts_with('-') && word.size() > 1) {
			const CLI::Option *option = find_option(place, word);
			if (option != nullptr && takes_value(*option))
				place.pending = option;
		} else if (const CLI::App *command = find_command(*place.chain.back(), word)) {
			place.chain.push_back(command);
			place.arguments = 0;
		} else {
			place.arguments++;
		}
	}
	return place;
}

/* Returns the values of an option that is checked by CLI::IsMember: "{on,off}" in its type. */
std::vector<std::string> values_of(const CLI::Option &option)
{
	const std::string type = option.get_type_name();
	const std::size_t begin = type.find('{');
	const std::size_t end = type.rfind('}');
	if (begin == std::string::npos || end == std::string::npos)
		return {};
	return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

/* The innermost command's argument at the cursor, or null. */
const CLI::Option *argument_at(const Place &place)
{
	std::size_t number = 0;
	for (const CLI::Option *option : place.chain.back()->get_options()) {
		if (option->get_positional() && number++ == place.arguments)
			return option;
	}
	return nullptr;
}

constexpr std::string_view kBash =
	R"script(# bash completion of zemctl; to use it: source <(zemctl completion bash)
_zemctl()
{
	local IFS=$'\n'
	COMPREPLY=($(zemctl complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
}
complete -o bashdefault -o default -F _zemctl zemctl
)script";

constexpr std::string_view kZsh = R"script(#compdef zemctl
# zsh completion of zemctl; to use it: zemctl completion zsh >_zemctl, in a directory of $fpath
_zemctl()
{
	local -a words_known
	words_known=(${(f)"$(zemctl complete -- "${(@)words[2,CURRENT]}" 2>/dev/null)"})
	if ((${#words_known})); then
		compadd -- $words_known
	else
		_files
	fi
}
if [ "$funcstack[1]" = _zemctl ]; then
	_zemctl "$@"
else
	compdef _zemctl zemctl
fi
)script";

} // namespace

std::vector<std::string> completions(const CLI::App &app, std::span<const std::string> words)
{
	if (words.empty())
		return {};
	const std::string &last = words.back();
	const Place place = place_after(app, words.first(words.size() - 1));
	std::vector<std::string> known;
	if (place.pending != nullptr) {
		known = values_of(*place.pending);
	} else if (last.starts_with('-')) {
		known = option_names(place.chain);
	} else {
		const CLI::Option *argument = argument_at(place);
		known = argument != nullptr ? values_of(*argument) :
					      command_names(*place.chain.back());
	}
	std::erase_if(known, [&last](const std::string &word) { return !word.starts_with(last); });
	std::ranges::sort(known);
	known.erase(std::ranges::unique(known).begin(), known.end());
	return known;
}

std::string_view completion_script(std::string_view shell)
{
	return shell == "zsh" ? kZsh : kBash;
}

} // namespace zemctl
