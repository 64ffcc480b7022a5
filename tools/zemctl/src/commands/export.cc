// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl export: converts a capture file to formats of other programs.
 */
#include "commands/commands.h"

#include <memory>
#include <string>

#include "base/errors.h"
#include "commands/capture_walk.h"
#include "commands/export_file.h"
#include "commands/options.h"
#include "commands/print_options.h"
#include "export/csv_sink.h"
#include "export/json_sink.h"
#include "export/perfetto_sink.h"
#include "metrics/capture_metrics.h"

namespace zemctl {

namespace {

struct ExportOptions {
	std::string file; /* "-" stands for standard input */
	std::string format;
	std::string out = "-"; /* standard output, except for csv */
	PrintOptions selection;
	bool strict = false;
};

bool has_selection(const PrintOptions &selection)
{
	const Criteria &criteria = selection.criteria;
	return !selection.channels.empty() || !criteria.uids.empty() || !criteria.pids.empty() ||
	       !criteria.comms.empty() || !criteria.packages.empty() || !criteria.cgroups.empty() ||
	       !selection.since.empty() || !selection.until.empty();
}

/* Metrics are sums of all records, and the losses are metrics, too. */
int export_metrics(const ExportOptions &options)
{
	if (has_selection(options.selection) || options.strict)
		throw usage_failure(
			"openmetrics has all records and the losses: select nothing, and leave "
			"out --strict");
	CaptureInput input(options.file);
	ExportFile file(options.out);
	file.output().append(openmetrics_of(input.reader()));
	file.output().flush();
	return kStatusSuccess;
}

int run_export(const ExportOptions &options)
{
	if (options.format == "openmetrics")
		return export_metrics(options);
	const Filter filter(criteria_of(options.selection));
	CaptureWalk walk(options.file);
	const auto run = [&](ExportSink &sink) {
		return walk.run(filter, sink) || !options.strict ? kStatusSuccess : kStatusFailure;
	};
	if (options.format == "csv") {
		if (options.out == "-")
			throw usage_failure("csv has several files: name a folder with -o");
		return run(*make_csv_sink(options.out));
	}
	ExportFile file(options.out);
	if (options.format == "json")
		return run(*make_json_sink(file.output()));
	if (file.output().is_terminal())
		throw usage_failure("a Perfetto trace is no text: name a file with -o");
	return run(*make_perfetto_sink(file.output()));
}

} // namespace

void add_export(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<ExportOptions>();
	CLI::App *command = app.add_subcommand(
		"export", "Convert a capture file to a format of other programs");
	add_capture_options(*command, options->file, options->strict);
	command->add_option("--format", options->format,
			    "perfetto: a trace for ui.perfetto.dev, in protocol buffers; csv: a "
			    "folder with a table for each kind of record; json: as dump --json; "
			    "openmetrics: the metrics at the end of the capture")
		->required()
		->check(CLI::IsMember({"perfetto", "csv", "json", "openmetrics"}));
	command->add_option(
		       "-o,--output", options->out,
		       "The file to write, or the folder for csv; standard output unless given")
		->type_name("OUT");
	add_criteria(*command, options->selection);
	command->add_flag("--utc", options->selection.utc, "Read times in UTC");
	runs(*command, line, [options](const Paths &) { return run_export(*options); });
}

} // namespace zemctl
