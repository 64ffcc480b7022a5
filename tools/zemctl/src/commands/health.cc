// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl health: how long groups of tasks waited for a CPU and slept uninterruptibly, in an
 * interval or since the sums started. The view of intervals is consumed by reading it: its first
 * reading is thrown away, as it tells of a time that nobody knows.
 */
#include "commands.h"

#include <chrono>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "../errors.h"
#include "../files.h"
#include "../health.h"
#include "../interval.h"
#include "../metric_switches.h"
#include "../text.h"

namespace zemctl {

namespace {

struct HealthSpan {
	zem_cgroup groups;
	std::optional<Seconds> length; /* none: since the sums started */
};

zem_cgroup read_health(const std::string &file, zem_cgroup (*parse)(std::string_view))
{
	require_module_file(file);
	const std::string text = read_whole_file(file);
	try {
		return parse(text);
	} catch (const Failure &failure) {
		throw Failure(fmt::format("{}: {}", file, failure.what()));
	}
}

HealthSpan read_interval(const std::string &file, Seconds length)
{
	read_health(file, parse_health_interval);
	const auto start = std::chrono::steady_clock::now();
	wait_for(length);
	const zem_cgroup groups = read_health(file, parse_health_interval);
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

} // namespace

int run_health(const Paths &paths, const HealthOptions &options)
{
	HealthSpan span = {};
	if (options.total)
		span.groups = read_health(paths.proc + "/morva_sched_healthinfo/sched_healthinfo",
					  parse_health_sums);
	else
		span = read_interval(paths.proc + "/cgroup_metrics/cgroup_metrics",
				     Seconds(options.seconds));
	warn_when_off(paths.proc, "health", "nothing is counted");
	Output output(STDOUT_FILENO, "standard output");
	output.append(options.json ? health_json(span) : health_text(span));
	output.flush();
	return kStatusSuccess;
}

} // namespace zemctl
