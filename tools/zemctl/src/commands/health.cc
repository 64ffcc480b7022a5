// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl health: shows how long groups of tasks waited for a CPU and slept uninterruptibly, in an
 * interval or since the last reset of the sums. Reading the view of intervals consumes it. The
 * first reading is discarded: the start of its interval is unknown.
 */
#include "commands/commands.h"

#include <chrono>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "base/errors.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "decode/health.h"
#include "kernel/metric_switches.h"
#include "text/json_line.h"
#include "text/output.h"
#include "text/text.h"
#include "views/health_views.h"
#include "views/view_file.h"

namespace zemctl {

namespace {

struct HealthOptions {
	bool json = false;
	bool total = false; /* since the last reset of the sums, instead of in an interval */
	double seconds = 1;
};

struct HealthSpan {
	zem_cgroup groups;
	std::optional<Seconds> length; /* none: since the last reset of the sums */
};

HealthSpan read_interval(const std::string &file, Seconds length)
{
	parse_file(file, parse_health_interval);
	const auto start = std::chrono::steady_clock::now();
	wait_for(length);
	const zem_cgroup groups = parse_file(file, parse_health_interval);
	return {groups, std::chrono::steady_clock::now() - start};
}

nlohmann::ordered_json nanoseconds_json(std::uint64_t nanoseconds)
{
	if (has_wrapped(nanoseconds))
		return nullptr;
	return nanoseconds;
}

std::string health_json(const HealthSpan &span)
{
	nlohmann::ordered_json object = {{"interval_seconds", nullptr}};
	if (span.length)
		object["interval_seconds"] = span.length->count();
	for (const zem_cgroup_entry &entry : span.groups.entries)
		object["groups"].push_back({
			{"name", field_text(entry.name)},
			{"lat_ns", nanoseconds_json(entry.lat)},
			{"d_io_ns", nanoseconds_json(entry.d_io)},
			{"d_nonio_ns", nanoseconds_json(entry.d_nonio)},
		});
	return json_line(object);
}

std::string health_text(const HealthSpan &span)
{
	const std::string heading = span.length ?
					    fmt::format("in {:.1f} s\n", span.length->count()) :
					    "since the sums started\n";
	return heading + '\n' + health_table(span.groups);
}

int run_health(const Paths &paths, const HealthOptions &options)
{
	HealthSpan span = {};
	if (options.total)
		span.groups = parse_file(paths.proc + "/morva_sched_healthinfo/sched_healthinfo",
					 parse_health_sums);
	else
		span = read_interval(paths.proc + "/cgroup_metrics/cgroup_metrics",
				     Seconds(options.seconds));
	warn_when_off(paths.proc, "health", "nothing is counted");
	write_to_stdout(options.json ? health_json(span) : health_text(span));
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
	add_interval(*command, options->seconds);
	command->add_flag("--total", options->total,
			  "Show the sums since their last reset. Does not affect other readers")
		->excludes("--seconds");
	command->add_flag("--json", options->json, "Print one JSON object");
	runs(*command, line, [options](const Paths &paths) { return run_health(paths, *options); });
}

} // namespace zemctl
