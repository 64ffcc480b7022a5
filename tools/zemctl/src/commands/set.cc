// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl set: sets the trace switch, the intervals, the size of the ring buffer and the switches of
 * the metrics. Values out of range are refused here, with the range in the message.
 */
#include "commands/commands.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/options.h"
#include "kernel/control_node.h"
#include "kernel/families.h"
#include "kernel/files.h"
#include "kernel/metric_switches.h"

namespace zemctl {

namespace {

/* A family and its new value. */
template <typename Value>
struct FamilyOptions {
	std::string family;
	Value value{};
};

int run_set_trace(const Paths &paths, bool on)
{
	const ControlNode node(paths.sysfs);
	const bool was_on = node.read_number("trace_on") != 0;
	node.write_number("trace_on", on ? 1 : 0);
	/* After the module was loaded trace is on without a collector, which is easily missed. */
	if (on && was_on)
		fmt::print(stderr,
			   "zemctl: trace was on already; the collector starts only when trace "
			   "goes from off to on\n");
	return kStatusSuccess;
}

int run_set_interval(const Paths &paths, const std::string &family, int value)
{
	const auto found = std::ranges::find(kFamilies, family, &Family::name);
	if (found == kFamilies.end())
		throw usage_failure(fmt::format("{}: no such family", family));
	if (value < 0 || value > kIntervalMax)
		throw usage_failure(fmt::format("interval of {}: {} is not within 0-{}", family,
						value, kIntervalMax));
	ControlNode(paths.sysfs).write_number(found->attribute, value);
	return kStatusSuccess;
}

int run_set_ring_buffer_size(const Paths &paths, int bytes)
{
	if (bytes < kRingBufferMin || bytes > kRingBufferMax)
		throw usage_failure(fmt::format("ring buffer size: {} is not within {}-{}", bytes,
						kRingBufferMin, kRingBufferMax));
	const ControlNode node(paths.sysfs);
	node.write_number("rb_size", bytes);
	/* A resize that fails is reported only in the kernel's log. */
	const int size = node.read_number("rb_size");
	if (size < bytes)
		throw Failure(fmt::format("{}: the kernel kept {} bytes per CPU, see its log",
					  node.path("rb_size"), size));
	return kStatusSuccess;
}

int run_set_metrics(const Paths &paths, const std::string &family, bool on)
{
	const auto found = std::ranges::find(kMetricSwitches, family, &MetricSwitch::name);
	if (found == kMetricSwitches.end())
		throw usage_failure(fmt::format("{}: no such family of metrics", family));
	const std::string file = fmt::format("{}/{}", paths.proc, found->file);
	require_module_file(file);
	write_whole_file(file, on ? "1\n" : "0\n");
	return kStatusSuccess;
}

void add_set_trace(CLI::App &set, CommandLine &line)
{
	const auto state = std::make_shared<std::string>();
	CLI::App *trace = set.add_subcommand("trace", "Switch recording on or off");
	add_state(*trace, *state);
	runs(*trace, line,
	     [state](const Paths &paths) { return run_set_trace(paths, *state == "on"); });
}

void add_set_interval(CLI::App &set, CommandLine &line)
{
	const auto options = std::make_shared<FamilyOptions<int>>();
	CLI::App *interval = set.add_subcommand(
		"interval", "Set how often a family is collected: in cycles of 5 s, for display in "
			    "seconds; 0 switches it off");
	interval->add_option("FAMILY", options->family, "The family")
		->required()
		->check(is_row_of(kFamilies));
	add_number<int>(*interval, "N", options->value, fmt::format("0-{}", kIntervalMax))
		->required();
	runs(*interval, line, [options](const Paths &paths) {
		return run_set_interval(paths, options->family, options->value);
	});
}

void add_set_rb_size(CLI::App &set, CommandLine &line)
{
	const auto bytes = std::make_shared<int>(0);
	CLI::App *size = set.add_subcommand("rb-size", "Set the ring buffer's size per CPU");
	add_number<int>(*size, "BYTES", *bytes,
			fmt::format("{}-{}", kRingBufferMin, kRingBufferMax))
		->required();
	runs(*size, line,
	     [bytes](const Paths &paths) { return run_set_ring_buffer_size(paths, *bytes); });
}

void add_set_metrics(CLI::App &set, CommandLine &line)
{
	const auto options = std::make_shared<FamilyOptions<std::string>>();
	CLI::App *metrics = set.add_subcommand(
		"metrics", "Switch metrics on or off: the counting for svp, sched, load and health "
			   "(on resets the sums of health), the records for load-report and "
			   "cgroup, and for threads the threads instead of the processes in load");
	metrics->add_option("FAMILY", options->family, "The family")
		->required()
		->check(is_row_of(kMetricSwitches));
	add_state(*metrics, options->value);
	runs(*metrics, line, [options](const Paths &paths) {
		return run_set_metrics(paths, options->family, options->value == "on");
	});
}

} // namespace

void add_set(CLI::App &app, CommandLine &line)
{
	CLI::App *set = app.add_subcommand("set", "Change a setting");
	set->require_subcommand(1);
	add_set_trace(*set, line);
	add_set_interval(*set, line);
	add_set_rb_size(*set, line);
	add_set_metrics(*set, line);
}

} // namespace zemctl
