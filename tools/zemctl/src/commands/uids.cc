// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl fg and zemctl forget: set the state of a UID, and drop the counters of UIDs. Arguments
 * that are not UIDs are refused here.
 */
#include "commands/commands.h"

#include <cstdio>
#include <memory>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/options.h"
#include "kernel/files.h"
#include "text/text.h"
#include "text/words.h"

namespace zemctl {

namespace {

constexpr int kForeground = 0;
constexpr int kBackground = 1;

std::uint32_t parsed_uid(std::string_view text)
{
	const auto uid = parse_number<std::uint32_t>(text);
	if (!uid)
		throw usage_failure(
			fmt::format("{}: not a UID, which is 0 to {}", escaped(text), UINT32_MAX));
	return *uid;
}

void write_module_file(const std::string &file, std::string_view text)
{
	require_module_file(file);
	write_whole_file(file, text);
}

int run_fg(const Paths &paths, const std::string &uid, bool foreground)
{
	const std::uint32_t number = parsed_uid(uid);
	write_module_file(paths.proc + "/zem_procstat/set",
			  fmt::format("{} {}", number, foreground ? kForeground : kBackground));
	/* The module ignores this state for the bios of UID 0, but not for its bytes. */
	if (number == 0 && foreground)
		fmt::print(stderr, "zemctl: the bios of UID 0 still count as background\n");
	return kStatusSuccess;
}

int run_forget(const Paths &paths, const std::string &uids)
{
	const std::string_view both = uids;
	const std::size_t dash = both.find('-');
	const std::uint32_t first = parsed_uid(both.substr(0, dash));
	const std::uint32_t last =
		dash == std::string_view::npos ? first : parsed_uid(both.substr(dash + 1));
	if (first > last)
		throw usage_failure(
			fmt::format("{}-{}: the first UID is above the last", first, last));
	write_module_file(paths.proc + "/zem_procstat/remove_uid_range",
			  fmt::format("{}-{}\n", first, last));
	return kStatusSuccess;
}

} // namespace

void add_fg(CLI::App &app, CommandLine &line)
{
	struct Options {
		std::string uid;
		std::string state;
	};
	const auto options = std::make_shared<Options>();
	CLI::App *command = app.add_subcommand("fg", "Set whether a UID is in the foreground");
	command->add_option("UID", options->uid, "The user id")->required();
	add_state(*command, options->state);
	runs(*command, line, [options](const Paths &paths) {
		return run_fg(paths, options->uid, options->state == "on");
	});
}

void add_forget(CLI::App &app, CommandLine &line)
{
	const auto uids = std::make_shared<std::string>();
	CLI::App *command = app.add_subcommand("forget", "Drop the counters of UIDs");
	command->add_option("UID[-UID]", *uids, "One user id, or the first and the last")
		->required();
	runs(*command, line, [uids](const Paths &paths) { return run_forget(paths, *uids); });
}

} // namespace zemctl
