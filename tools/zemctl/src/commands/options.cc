// SPDX-License-Identifier: GPL-2.0
/*
 * Options of several commands.
 */
#include "commands/options.h"

#include "records/channels.h"

namespace zemctl {

void runs(CLI::App &command, CommandLine &line, std::function<int(const Paths &)> run)
{
	command.callback([&line, run = std::move(run)] {
		line.action = [&line, run] {
			return run(line.paths);
		};
	});
}

void add_state(CLI::App &command, std::string &state)
{
	command.add_option("STATE", state, "on or off")
		->required()
		->check(CLI::IsMember({"on", "off"}));
}

void add_record_limit(CLI::App &command, std::optional<std::uint64_t> &records)
{
	add_number<std::uint64_t>(command, "--records", records, "End after this many records",
				  {.least = 1});
}

CLI::Option *add_seconds(CLI::App &command, const std::string &name, std::optional<double> &value,
			 std::string description, double most)
{
	constexpr double kLeast = 0.001;
	return add_number<double>(command, name, value, std::move(description), {kLeast, most})
		->type_name("S");
}

CLI::IsMember is_channel()
{
	return CLI::IsMember(std::vector<std::string>(kChannelNames.begin(), kChannelNames.end()));
}

} // namespace zemctl
