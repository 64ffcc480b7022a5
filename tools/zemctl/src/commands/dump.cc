// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl dump: shows the records of a capture file in the formats of zemctl watch.
 */
#include "commands/commands.h"

#include <memory>

#include <unistd.h>

#include "base/errors.h"
#include "commands/capture_input.h"
#include "commands/capture_walk.h"
#include "commands/completeness.h"
#include "commands/options.h"
#include "commands/printer.h"
#include "text/output.h"

namespace zemctl {

namespace {

struct DumpOptions {
	std::string file; /* "-" stands for standard input */
	PrintOptions print;
	bool strict = false;
};

int run_dump(const DumpOptions &options)
{
	CaptureInput input(options.file);
	CaptureReader &reader = input.reader();
	Output output(STDOUT_FILENO, "standard output");
	Printer printer(output, options.print, StreamSource::kCapture);
	CompletenessCheck check(input.name());
	const auto show = [&printer](const std::optional<Missing> &missing) {
		if (!missing)
			return;
		printer.print_gap(missing->gap);
		report_lines(missing->lines);
	};
	try {
		while (!printer.is_full()) {
			if (reader.at_end_of_buffer())
				printer.flush();
			const auto item = reader.next();
			if (!item)
				break;
			if (const Record *record = std::get_if<Record>(&*item))
				printer.print(*record);
			else if (const Mark *mark = std::get_if<Mark>(&*item)) {
				printer.print_mark(*mark);
				show(check.note(*mark));
			} else {
				show(check.note(std::get<Skip>(*item)));
			}
		}
	} catch (const Failure &) {
		printer.flush();
		throw;
	}
	printer.flush();
	if (printer.is_full()) {
		printer.finish(StreamEnd::kLimit);
	} else {
		report_lines(check.note_end(reader));
		printer.finish(CompletenessCheck::end_of(reader));
	}
	return check.is_complete() || !options.strict ? kStatusSuccess : kStatusFailure;
}

} // namespace

void add_dump(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<DumpOptions>();
	CLI::App *command = app.add_subcommand("dump", "Show the records of a capture file");
	add_capture_options(*command, options->file, options->strict);
	add_print_options(*command, options->print);
	command->add_flag("--summary", options->print.summary,
			  "Show the records, bytes and rates of each channel, and the losses, "
			  "instead of the records")
		->excludes("--full")
		->excludes("--hex")
		->excludes("--fields");
	runs(*command, line, [options](const Paths &) { return run_dump(*options); });
}

} // namespace zemctl
