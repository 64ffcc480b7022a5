// SPDX-License-Identifier: GPL-2.0
/*
 * The switches of the metrics.
 */
#include "kernel/metric_switches.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

#include "kernel/files.h"

namespace zemctl {

namespace {

/* Returns nothing if the file does not exist. */
std::optional<bool> is_number_set(const std::string &file)
{
	if (::access(file.c_str(), F_OK) != 0 && errno == ENOENT)
		return std::nullopt;
	return read_number_file(file) != 0;
}

} // namespace

std::optional<bool> is_switched_on(const std::string &proc, const MetricSwitch &metrics)
{
	return is_number_set(fmt::format("{}/{}", proc, metrics.file));
}

std::string schedstats_file(const std::string &proc)
{
	return proc + "/sys/kernel/sched_schedstats";
}

std::optional<bool> keeps_schedstats(const std::string &proc)
{
	return is_number_set(schedstats_file(proc));
}

void warn_when_off(const std::string &proc, std::string_view family, std::string_view consequence)
{
	const auto found = std::ranges::find(kMetricSwitches, family, &MetricSwitch::name);
	if (found != kMetricSwitches.end() && is_switched_on(proc, *found) == false)
		fmt::print(stderr,
			   "zemctl: {0} is off: {1}; zemctl set metrics {0} on switches it on\n",
			   family, consequence);
}

} // namespace zemctl
