// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl health: shows how long groups of tasks waited for a CPU and slept uninterruptibly, in an
 * interval or since the last reset of the sums. Reading the view of intervals consumes it. The
 * first reading is discarded: the start of its interval is unknown.
 */
#include "commands/commands.h"

#include <chrono>
#include <cstdio>
#include <memory>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "decode/health.h"
#include "kernel/metric_switches.h"
#include "text/fit.h"
#include "text/output.h"
#include "text/schema.h"
#include "text/text.h"
#include "views/health_views.h"
#include "views/view_file.h"

namespace zemctl {

namespace {

struct HealthOptions {
	bool json = false;
	bool total = false; /* since the last reset of the sums, instead of in an interval */
	IntervalOptions interval;
};

struct HealthSpan {
	zem_cgroup groups;
	std::optional<Seconds> length; /* none: since the last reset of the sums */
};

/* The sums may exceed the numbers of JSON: many tasks that wait for days add up. */
void total_json(std::uint64_t nanoseconds, JsonWriter &json)
{
	if (has_wrapped(nanoseconds))
		json.null();
	else
		json.decimal(nanoseconds);
}

void totals_json(const zem_cgroup &groups, JsonWriter &json)
{
	json.begin_array("group_totals");
	for (const zem_cgroup_entry &entry : groups.entries) {
		json.begin_object();
		json.name("name", field_text(entry.name));
		json.key("lat_total_ns");
		total_json(entry.lat, json);
		json.key("d_io_total_ns");
		total_json(entry.d_io, json);
		json.key("d_nonio_total_ns");
		total_json(entry.d_nonio, json);
		json.end_object();
	}
	json.end_array();
}

std::string span_json(const HealthSpan &span)
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.health");
	json.count("interval_ns", nanoseconds_of(span.length));
	if (span.length)
		health_json(span.groups, json);
	else
		totals_json(span.groups, json);
	json.end_object();
	return std::string(json.take_line());
}

std::string health_text(const HealthSpan &span)
{
	const std::string heading = span.length ?
					    fmt::format("in {:.1f} s\n", span.length->count()) :
					    "since the sums started\n";
	return heading + '\n' + health_table(span.groups);
}

void show(const HealthSpan &span, const HealthOptions &options)
{
	if (options.json)
		write_to_stdout(span_json(span));
	else
		write_table_to_stdout(health_text(span));
}

void warn_when_nothing_is_counted(const Paths &paths)
{
	warn_when_off(paths.proc, "health", "nothing is counted");
	if (keeps_schedstats(paths.proc) == false)
		fmt::print(stderr,
			   "zemctl: kernel.sched_schedstats is 0: waits and D states stay 0; "
			   "sysctl kernel.sched_schedstats=1 switches it on\n");
}

int run_health(const Paths &paths, const HealthOptions &options)
{
	const std::string sums = paths.proc + "/morva_sched_healthinfo/sched_healthinfo";
	const std::string interval = paths.proc + "/cgroup_metrics/cgroup_metrics";
	if (options.total) {
		const zem_cgroup groups = parse_file(sums, parse_health_sums);
		warn_when_nothing_is_counted(paths);
		show({groups, std::nullopt}, options);
		return kStatusSuccess;
	}
	parse_file(interval, parse_health_interval);
	warn_when_nothing_is_counted(paths);
	Intervals intervals(options.interval);
	while (intervals.wait())
		show({parse_file(interval, parse_health_interval), intervals.length()}, options);
	return kStatusSuccess;
}

} // namespace

void add_health(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<HealthOptions>();
	CLI::App *command = app.add_subcommand(
		"health", "Show how long groups of tasks waited for a CPU and slept "
			  "uninterruptibly. This consumes, unless with --total: it reads twice, "
			  "and no record will contain what it has read");
	add_interval(*command, options->interval);
	command->add_flag("--total", options->total,
			  "Show the sums since their last reset. Does not affect other readers")
		->excludes("--seconds")
		->excludes("SECONDS");
	command->add_flag("--json", options->json, "Print one JSON object");
	runs(*command, line, [options](const Paths &paths) { return run_health(paths, *options); });
}

} // namespace zemctl
