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

void add_interval(CLI::App &command, double &seconds)
{
	command.add_option("--seconds", seconds, "The length of the measurement")
		->capture_default_str()
		->check(CLI::Range(0.001, 1e6));
}

void add_record_limit(CLI::App &command, std::optional<std::uint64_t> &records)
{
	command.add_option("--records", records, "End after this many records")
		->check(CLI::PositiveNumber);
}

CLI::IsMember is_channel()
{
	return CLI::IsMember(std::vector<std::string>(kChannelNames.begin(), kChannelNames.end()));
}

} // namespace zemctl
