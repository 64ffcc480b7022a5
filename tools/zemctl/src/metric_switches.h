/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The metric families that can be switched off, and where below /proc their switches are.
 */
#pragma once

#include <array>
#include <string_view>

namespace zemctl {

struct MetricSwitch {
	std::string_view name;
	std::string_view file; /* below /proc; "0\n" or "1\n" */
};

inline constexpr std::array kMetricSwitches = {
	MetricSwitch{"svp", "svp_metrics/svp_metrics_enabled"},
	MetricSwitch{"sched", "sched_metrics/sched_metrics_enabled"},
};

} // namespace zemctl
