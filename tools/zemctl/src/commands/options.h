/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Options of several commands, and the connection between a command on the command line and the
 * function that runs it.
 */
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "commands/commands.h"
#include "text/words.h"

namespace zemctl {

/* Sets @run as the action of @line if the command line names @command. */
void runs(CLI::App &command, CommandLine &line, std::function<int(const Paths &)> run);

/* The argument STATE: "on" or "off". */
void add_state(CLI::App &command, std::string &state);

/* The option --records: the number of records after which a command ends. */
void add_record_limit(CLI::App &command, std::optional<std::uint64_t> &records);

/* The numbers that an option accepts. */
template <typename Number>
struct Limits {
	Number least = std::numeric_limits<Number>::min();
	Number most = std::numeric_limits<Number>::max();
};

/* Returns @text as a decimal number within @limits: 010 is ten. Refuses other texts, and NaN. */
template <typename Number>
Number parsed_number(const std::string &option, const std::string &text, Limits<Number> limits)
{
	constexpr std::string_view kind = std::integral<Number> ? "a whole number" :
								  "a number of seconds";
	const auto number = parse_number<Number>(text);
	if (!number || !(*number >= limits.least && *number <= limits.most))
		throw CLI::ValidationError(option, fmt::format("{} is not {} from {} to {}", text,
							       kind, limits.least, limits.most));
	return *number;
}

/* An option or an argument with a number within @limits. @value may be an optional. */
template <typename Number, typename Value>
CLI::Option *add_number(CLI::App &command, const std::string &name, Value &value,
			std::string description, Limits<Number> limits = {})
{
	return command
		.add_option_function<std::string>(
			name,
			[&value, name, limits](const std::string &text) {
				value = parsed_number(name, text, limits);
			},
			std::move(description))
		->type_name("N");
}

/* About thirty years. Far longer times do not fit into nanoseconds. */
inline constexpr double kSecondsMax = 1e9;

/* An option or an argument in seconds, which may have a fraction. */
CLI::Option *add_seconds(CLI::App &command, const std::string &name, std::optional<double> &value,
			 std::string description, double most = kSecondsMax);

/* Accepts the names of channels. */
CLI::IsMember is_channel();

/* Accepts the names of the rows of @table. */
template <typename Table>
CLI::IsMember is_row_of(const Table &table)
{
	std::vector<std::string> names;
	names.reserve(table.size());
	for (const auto &row : table)
		names.emplace_back(row.name);
	return CLI::IsMember(std::move(names));
}

} // namespace zemctl
