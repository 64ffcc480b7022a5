// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl report: shows a capture as a page with charts.
 */
#include "commands/commands.h"

#include <memory>
#include <string>

#include "base/errors.h"
#include "commands/capture_walk.h"
#include "commands/export_file.h"
#include "commands/options.h"
#include "commands/print_options.h"
#include "report/report_sink.h"

namespace zemctl {

namespace {

struct ReportOptions {
	std::string file; /* "-" stands for standard input */
	std::string out;
	PrintOptions selection;
	bool strict = false;
};

int run_report(const ReportOptions &options)
{
	const Filter filter(criteria_of(options.selection));
	CaptureWalk walk(options.file);
	ExportFile file(options.out);
	const std::string name = options.file.substr(options.file.rfind('/') + 1);
	const auto sink = make_report_sink(file.output(), name);
	return walk.run(filter, *sink) || !options.strict ? kStatusSuccess : kStatusFailure;
}

} // namespace

void add_report(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<ReportOptions>();
	CLI::App *command = app.add_subcommand(
		"report", "Show a capture as a page with charts, for any browser");
	add_capture_options(*command, options->file, options->strict);
	command->add_option("-o,--output", options->out, "The page to write; - for standard output")
		->required()
		->type_name("OUT");
	add_criteria(*command, options->selection);
	command->add_flag("--utc", options->selection.utc, "Read times in UTC");
	runs(*command, line, [options](const Paths &) { return run_report(*options); });
}

} // namespace zemctl
