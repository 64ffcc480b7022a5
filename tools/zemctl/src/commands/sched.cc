// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl sched: shows the scheduler histograms since the module was loaded, or of an interval. It
 * reads only the totals, so it does not affect other readers.
 */
#include "commands/commands.h"

#include <memory>
#include <optional>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "text/fit.h"
#include "text/output.h"
#include "text/schema.h"
#include "views/histogram_view.h"

namespace zemctl {

namespace {

struct SchedOptions {
	bool json = false;
	bool cpus = false;
	bool ascii = false;
	IntervalOptions interval;
};

struct SchedSpan {
	SchedReading reading;
	std::optional<Seconds> length; /* none: since the module was loaded */
};

std::string sched_text(const SchedSpan &span, const SchedOptions &options)
{
	const ViewStyle style = output_style(options.ascii);
	std::string text = span.length ? fmt::format("in {:.1f} s\n", span.length->count()) :
					 "since the module was loaded\n";
	for (std::size_t i = 0; i < span.reading.size(); i++) {
		text += '\n';
		text += histogram_table(kSchedHistograms[i], span.reading[i], style);
		if (options.cpus)
			text += cpu_table(kSchedHistograms[i], span.reading[i], style);
	}
	return text;
}

void cpus_json(const HistogramReading &reading, JsonWriter &json)
{
	json.begin_array("per_cpu");
	for (const CpuTotals &cpu : reading.cpus) {
		json.begin_object();
		json.number("cpu", cpu.cpu);
		json.counts("counts", cpu.totals.counts);
		json.count("total_time_ms", cpu.totals.milliseconds);
		json.end_object();
	}
	json.end_array();
}

std::string sched_json(const SchedSpan &span)
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.sched");
	json.count("interval_ns", nanoseconds_of(span.length));
	for (std::size_t i = 0; i < span.reading.size(); i++) {
		const HistogramReading &reading = span.reading[i];
		json.key(kSchedHistograms[i].name);
		json.begin_object();
		json.counts("bounds_us", reading.bounds);
		json.counts("counts", reading.all.counts);
		json.count("total_time_ms", reading.all.milliseconds);
		cpus_json(reading, json);
		json.end_object();
	}
	json.end_object();
	return std::string(json.take_line());
}

void show(const SchedSpan &span, const SchedOptions &options)
{
	if (options.json)
		write_to_stdout(sched_json(span));
	else
		write_table_to_stdout(sched_text(span, options));
}

int run_sched(const Paths &paths, const SchedOptions &options)
{
	const std::string directory = paths.proc + "/sched_metrics";
	SchedReading earlier = read_sched_views(directory);
	if (!options.interval.are_given()) {
		show({std::move(earlier), std::nullopt}, options);
		return kStatusSuccess;
	}
	Intervals intervals(options.interval);
	while (intervals.wait()) {
		SchedReading later = read_sched_views(directory);
		show({difference(later, earlier), intervals.length()}, options);
		earlier = std::move(later);
	}
	return kStatusSuccess;
}

} // namespace

void add_sched(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<SchedOptions>();
	CLI::App *command = app.add_subcommand("sched",
					       "Show the scheduler histograms, since the module "
					       "was loaded or of intervals. Does not affect "
					       "other readers");
	add_interval(*command, options->interval);
	CLI::Option *json = command->add_flag("--json", options->json, "Print one JSON object");
	command->add_flag("--cpus", options->cpus, "Show each CPU too")->excludes(json);
	command->add_flag("--ascii", options->ascii, "Draw bars in ASCII")->excludes(json);
	runs(*command, line, [options](const Paths &paths) { return run_sched(paths, *options); });
}

} // namespace zemctl
