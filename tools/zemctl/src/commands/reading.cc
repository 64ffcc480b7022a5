// SPDX-License-Identifier: GPL-2.0
/*
 * The common part of zemctl watch and zemctl record.
 */
#include "commands/reading.h"

#include "commands/options.h"

namespace zemctl {

void add_read_options(CLI::App &command, ReadOptions &options)
{
	add_seconds(command, "--seconds", options.seconds, "End after this many seconds");
	command.add_flag("--strict", options.strict,
			 "Exit with status 1 if records were lost, in the kernel or in zemctl");
}

std::chrono::nanoseconds duration_of(double seconds)
{
	return std::chrono::duration_cast<std::chrono::nanoseconds>(
		std::chrono::duration<double>(seconds));
}

std::optional<std::chrono::nanoseconds> duration_of(const ReadOptions &options)
{
	if (!options.seconds)
		return std::nullopt;
	return duration_of(*options.seconds);
}

bool is_complete(const Counters &counters, const Kept &kept, const LossMeter &meter)
{
	return counters.gaps == 0 && kept.dropped == 0 && meter.is_known() &&
	       meter.growth().lost() == 0;
}

void print_notes(const std::vector<std::string> &notes)
{
	for (const std::string &note : notes)
		fmt::print(stderr, "zemctl: {}\n", note);
}

} // namespace zemctl
