/* SPDX-License-Identifier: GPL-2.0 */
/* The sixteen views of /proc/sched_metrics, and their expected texts. */
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/sched_fixture.h"

namespace test {

enum class ViewKind { kHistogramTotal, kHistogramInterval, kSumTotal, kSumInterval };

struct SchedView {
	const char *name;
	Metric metric;
	ViewKind kind;
	const char *title;
	std::array<int, 9> labels; /* of the histograms */

	[[nodiscard]] bool is_interval() const
	{
		return kind == ViewKind::kHistogramInterval || kind == ViewKind::kSumInterval;
	}
};

inline constexpr std::array kIrqtimeLabels = {100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000};
/* The label 14000 stands for 15 ms. */
inline constexpr std::array kRuntimeLabels = {2000,  5000,  8000,  11000, 14000,
					      18000, 22000, 27000, 32000};
inline constexpr std::array kRundelayLabels = {500,  1000,  2000,  3000, 5000,
					       7000, 10000, 15000, 20000};
inline constexpr std::array kDStateLabels = {2000,  3000,  7000,   12000, 18000,
					     27000, 44000, 100000, 200000};

/* In the order of the files. */
inline constexpr SchedView kSchedViews[] = {
	{"sched_metrics_irqtime_total", Metric::kIrqtime, ViewKind::kHistogramTotal,
	 "histogram irqtime total (us):\n", kIrqtimeLabels},
	{"sched_metrics_irqtime", Metric::kIrqtime, ViewKind::kHistogramInterval,
	 "histogram irqtime interval (us):\n", kIrqtimeLabels},
	{"sched_metrics_all_irqtime_sum_total",
	 Metric::kIrqtime,
	 ViewKind::kSumTotal,
	 "all irqtime_sum total (ms):\n",
	 {}},
	{"sched_metrics_all_irqtime_sum",
	 Metric::kIrqtime,
	 ViewKind::kSumInterval,
	 "all irqtime_sum interval (ms):\n",
	 {}},
	{"sched_metrics_svp_runtime_total", Metric::kRuntime, ViewKind::kHistogramTotal,
	 "histogram svp_runtime total (us):\n", kRuntimeLabels},
	{"sched_metrics_svp_runtime", Metric::kRuntime, ViewKind::kHistogramInterval,
	 "histogram svp_runtime interval (us):\n", kRuntimeLabels},
	{"sched_metrics_svp_runtime_sum_total",
	 Metric::kRuntime,
	 ViewKind::kSumTotal,
	 "svp_runtime_sum total (ms):\n",
	 {}},
	{"sched_metrics_svp_runtime_sum",
	 Metric::kRuntime,
	 ViewKind::kSumInterval,
	 "svp_runtime_sum interval (ms):\n",
	 {}},
	{"sched_metrics_svp_rundelay_total", Metric::kRundelay, ViewKind::kHistogramTotal,
	 "histogram_svp_run_delay total (us):\n", kRundelayLabels},
	{"sched_metrics_svp_rundelay", Metric::kRundelay, ViewKind::kHistogramInterval,
	 "histogram svp_run_delay interval (us):\n", kRundelayLabels},
	{"sched_metrics_svp_rundelay_sum_total",
	 Metric::kRundelay,
	 ViewKind::kSumTotal,
	 "svp_run_delay_sum total (ms):\n",
	 {}},
	{"sched_metrics_svp_rundelay_sum",
	 Metric::kRundelay,
	 ViewKind::kSumInterval,
	 "svp_run_delay_sum interval (ms):\n",
	 {}},
	{"sched_metrics_svp_d_state_duration_total", Metric::kDState, ViewKind::kHistogramTotal,
	 "histogram_svp_d_state_duration total (us):\n", kDStateLabels},
	{"sched_metrics_svp_d_state_duration", Metric::kDState, ViewKind::kHistogramInterval,
	 "histogram svp_d_state_duration interval (us):\n", kDStateLabels},
	{"sched_metrics_svp_d_state_duration_sum_total",
	 Metric::kDState,
	 ViewKind::kSumTotal,
	 "svp_d_state_duration_sum total (ms):\n",
	 {}},
	{"sched_metrics_svp_d_state_duration_sum",
	 Metric::kDState,
	 ViewKind::kSumInterval,
	 "svp_d_state_duration_sum interval (ms):\n",
	 {}},
};

[[nodiscard]] std::vector<SchedView> interval_views();
[[nodiscard]] std::vector<SchedView> total_views();

/* The numbers of one CPU at one time. */
struct CpuNumbers {
	unsigned int cpu;
	CpuCounters counters;
	u64 irqtime;

	[[nodiscard]] u64 time(Metric metric) const;
};

using Numbers = std::vector<CpuNumbers>;

/* Returns the whole text. A total view ignores @before. */
[[nodiscard]] std::string expected_text(const SchedView &view, const Numbers &now,
					const Numbers &before);

} /* namespace test */
