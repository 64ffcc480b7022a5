/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The switches of the metrics, and their files below /proc.
 */
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zemctl {

struct MetricSwitch {
	std::string_view name;
	std::string_view file; /* below /proc; "0\n" or "1\n" */
};

inline constexpr std::array kMetricSwitches = {
	MetricSwitch{"svp", "svp_metrics/svp_metrics_enabled"},
	MetricSwitch{"sched", "sched_metrics/sched_metrics_enabled"},
	MetricSwitch{"load", "load_metrics/load_metrics_enabled"},
	MetricSwitch{"load-report", "load_metrics/load_metrics_report"},
	MetricSwitch{"threads", "load_metrics/thread_metrics_enabled"},
	MetricSwitch{"cgroup", "cgroup_metrics/cgroup_metrics_enabled"},
	MetricSwitch{"health", "morva_sched_healthinfo/sched_healthinfo_enable"},
};

/* Returns nothing if the module lacks the switch. */
std::optional<bool> is_switched_on(const std::string &proc, const MetricSwitch &metrics);

/* Returns whether the kernel keeps schedstats, or nothing if it has none. */
std::optional<bool> keeps_schedstats(const std::string &proc);
std::string schedstats_file(const std::string &proc);

/* If the counting of @family is off, prints @consequence on standard error. */
void warn_when_off(const std::string &proc, std::string_view family, std::string_view consequence);

} // namespace zemctl
