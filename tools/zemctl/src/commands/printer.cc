// SPDX-License-Identifier: GPL-2.0
/*
 * Prints records on standard output.
 */
#include "commands/printer.h"

#include <cstdlib>

#include "base/errors.h"
#include "commands/options.h"
#include "records/channels.h"
#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::string_view kHexIndent = "    ";

/* Colour is off if NO_COLOR is set and not empty. */
Colour choose_colour(const Output &output)
{
	const char *no_colour = std::getenv("NO_COLOR");
	const bool refused = no_colour != nullptr && *no_colour != '\0';
	return output.is_terminal() && !refused ? Colour::kOn : Colour::kOff;
}

} // namespace

void add_print_options(CLI::App &command, PrintOptions &options)
{
	CLI::Option *json =
		command.add_flag("--json", options.json, "Print one JSON object a line");
	command.add_flag("--hex", options.hex, "Add a hex dump of every payload");
	command.add_flag("--full", options.full, "Add the complete decoded payloads")
		->excludes(json);
	command.add_option("--channel", options.channels,
			   "Show only these channels; may be repeated or given as a,b,c")
		->delimiter(',')
		->allow_extra_args(false)
		->check(is_channel());
	add_record_limit(command, options.records);
}

Printer::Printer(Output &output, const PrintOptions &options, StreamSource source)
	: output_(output), options_(options), text_(choose_colour(output)),
	  json_(options.hex ? PayloadHex::kAll : PayloadHex::kOthers)
{
	for (const std::string &name : options_.channels) {
		const auto id = channel_by_name(name);
		if (!id)
			throw usage_failure(name + ": no such channel");
		wanted_ |= 1U << *id;
	}
	if (!options_.summary)
		output_.append(options_.json ? json_.header(source) : format_heading());
}

bool Printer::is_wanted(const Record &record) const
{
	return wanted_ == 0 || (wanted_ >> record.header.channel & 1) != 0;
}

void Printer::print(const Record &record)
{
	if (is_full() || !is_wanted(record))
		return;
	printed_++;
	if (options_.summary)
		return summary_.count(record);
	if (options_.json)
		return output_.append(json_.record(record));
	output_.append(text_.line(record));
	if (options_.full)
		output_.append(format_full(record));
	if (options_.hex)
		output_.append(hex_dump(record.payload(), kHexIndent));
}

void Printer::print_gap(const Gap &gap)
{
	if (options_.summary)
		summary_.count(gap);
	else if (options_.json)
		output_.append(json_.gap(gap));
}

void Printer::print_mark(const Mark &mark)
{
	if (options_.json && !options_.summary)
		output_.append(json_.mark(mark));
}

void Printer::finish(StreamEnd reason)
{
	const StreamEnd end = is_full() ? StreamEnd::kLimit : reason;
	if (options_.summary)
		output_.append(options_.json ? summary_.json(end) : summary_.text(end));
	else if (options_.json)
		output_.append(json_.end(end, printed_));
	output_.flush();
}

} // namespace zemctl
