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

std::optional<bool> is_switched_on(const std::string &proc, const MetricSwitch &metrics)
{
	const std::string file = fmt::format("{}/{}", proc, metrics.file);
	if (::access(file.c_str(), F_OK) != 0 && errno == ENOENT)
		return std::nullopt;
	return read_number_file(file) != 0;
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
