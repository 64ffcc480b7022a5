/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Options of several commands, and the connection between a command on the command line and the
 * function that runs it.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands/commands.h"

namespace zemctl {

/* Sets @run as the action of @line if the command line names @command. */
void runs(CLI::App &command, CommandLine &line, std::function<int(const Paths &)> run);

/* The argument STATE: "on" or "off". */
void add_state(CLI::App &command, std::string &state);

/* The option --seconds: the length of the interval that a command measures. */
void add_interval(CLI::App &command, double &seconds);

/* The option --records: the number of records after which a command ends. */
void add_record_limit(CLI::App &command, std::optional<std::uint64_t> &records);

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
