// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl set: the trace switch, the intervals, the ring buffer's size and the switches of the
 * metric families. What is out of range is refused here, with the range, before the kernel is
 * asked.
 */
#include "commands.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

#include "../errors.h"
#include "../families.h"
#include "../files.h"
#include "../metric_switches.h"
#include "../sysfs.h"

namespace zemctl {

int run_set_trace(const Paths &paths, bool on)
{
	const ControlNode node(paths.sysfs);
	const bool was_on = node.read_number("trace_on") != 0;
	node.write_number("trace_on", on ? 1 : 0);
	/* After load the trace is on without a collector: a trap worth a word. */
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
	/* A resize that fails is reported in the kernel's log alone. */
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

} // namespace zemctl
