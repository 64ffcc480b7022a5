// SPDX-License-Identifier: GPL-2.0
/*
 * The options of zemctl watch and zemctl dump that select records and determine their form.
 */
#include "commands/print_options.h"

#include <cstdlib>
#include <string_view>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/wall_clock.h"
#include "commands/options.h"
#include "decode/fields.h"
#include "records/channels.h"
#include "text/text.h"
#include "text/time_argument.h"

namespace zemctl {

namespace {

std::optional<std::uint64_t> time_of(const std::string &text, const char *option,
				     Calendar::Zone zone)
{
	if (text.empty())
		return std::nullopt;
	const auto time = parse_time(text, wall_clock(), zone);
	if (!time)
		throw usage_failure(fmt::format(
			"{}: {} is not a time, such as \"2026-11-22 14:05:06\", 14:05, -15m or "
			"@1795356306",
			option, escaped(text)));
	return time;
}

/* An option that may be repeated, or given as a,b,c. */
template <typename Value>
CLI::Option *add_list(CLI::App &command, const std::string &name, std::vector<Value> &values,
		      const std::string &description)
{
	return command.add_option(name, values, description)
		->delimiter(',')
		->allow_extra_args(false);
}

void add_numbers(CLI::App &command, const std::string &name, std::vector<std::uint32_t> &numbers,
		 const std::string &description)
{
	command.add_option_function<std::vector<std::string>>(
		       name,
		       [&numbers, name](const std::vector<std::string> &words) {
			       for (const std::string &word : words)
				       numbers.push_back(
					       parsed_number<std::uint32_t>(name, word, {}));
		       },
		       description)
		->delimiter(',')
		->allow_extra_args(false)
		->type_name("N");
}

} // namespace

void add_criteria(CLI::App &command, PrintOptions &options)
{
	Criteria &criteria = options.criteria;
	add_list(command, "--channel", options.channels,
		 "Show only these channels; may be repeated or given as a,b,c")
		->check(is_channel());
	add_numbers(command, "--uid", criteria.uids, "Show only records with one of these UIDs");
	add_numbers(command, "--pid", criteria.pids,
		    "Show only records of these threads, or of the threads of these processes");
	add_list(command, "--comm", criteria.comms,
		 "Show only records of tasks with one of these names; * and ? are wildcards")
		->type_name("PATTERN");
	add_list(command, "--package", criteria.packages,
		 "Show only records of these packages; * and ? are wildcards")
		->type_name("PATTERN");
	add_list(command, "--cgroup", criteria.cgroups,
		 "Show only records with one of these control groups")
		->type_name("PATTERN");
	command.add_option("--since", options.since, "Show only records from this time on")
		->type_name("TIME");
	command.add_option("--until", options.until, "Show only records from before this time")
		->type_name("TIME");
}

void add_colour(CLI::App &command, When &when, const std::string &description)
{
	command.add_option_function<std::string>(
		       "--color",
		       [&when](const std::string &word) {
			       when = word == "always" ? When::kAlways :
				      word == "never"  ? When::kNever :
							 When::kAuto;
		       },
		       description)
		->check(CLI::IsMember({"auto", "always", "never"}));
}

bool wants_colour(When when, bool is_terminal)
{
	const auto is_set = [](const char *name) {
		const char *value = std::getenv(name);
		return value != nullptr && *value != '\0';
	};
	const char *terminal = std::getenv("TERM");
	const bool dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
	if (when == When::kAuto)
		return is_terminal && !is_set("NO_COLOR") && !dumb;
	return when == When::kAlways;
}

void add_print_options(CLI::App &command, PrintOptions &options)
{
	CLI::Option *json =
		command.add_flag("--json", options.json, "Print one JSON object a line");
	command.add_flag("--hex", options.hex, "Add a hex dump of every payload");
	command.add_flag("--full", options.full, "Add the complete decoded payloads")
		->excludes(json);
	add_list(command, "--fields", options.fields,
		 "Show these columns, in this order: time, channel, sub, train, len, uid, pid, "
		 "tgid, comm, package, cgroup, payload")
		->check(is_row_of(kFieldRows))
		->excludes(json);
	add_criteria(command, options);
	command.add_option("--grep", options.pattern,
			   "Show only records whose output matches this regular expression")
		->type_name("REGEX");
	command.add_flag("--utc", options.utc, "Show and read times in UTC");
	add_colour(command, options.colour, "Colour the channels: auto is on a terminal");
	add_record_limit(command, options.records);
}

Calendar::Zone zone_of(const PrintOptions &options)
{
	return options.utc ? Calendar::Zone::kUtc : Calendar::Zone::kLocal;
}

Criteria criteria_of(const PrintOptions &options)
{
	const Calendar::Zone zone = zone_of(options);
	Criteria criteria = options.criteria;
	criteria.channels = channel_set(options.channels);
	criteria.since = time_of(options.since, "--since", zone);
	criteria.until = time_of(options.until, "--until", zone);
	return criteria;
}

} // namespace zemctl
