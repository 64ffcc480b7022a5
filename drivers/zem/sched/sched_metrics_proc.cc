// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/sched_metrics: the switch, and sixteen views as rows of a table. Scripts rely on the
 * irregular titles, labels and paddings. Runs in the reader's process.
 */
#include "sched/sched_metrics_proc.h"

#include "kernel/api/proc_fs.h"
#include "kernel/proc_directory.h"
#include "sched/histogram_views.h"
#include "sched/sched_metrics.h"
#include "sched/sum_views.h"
#include "sched/view.h"

namespace zem {

namespace {

/* Upper bounds of the buckets in us. The run time's fifth bound is 15 ms, but its label is 14000.
 */
constexpr Labels kIrqtimeLabels = {100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000};
constexpr Labels kRuntimeLabels = {2000, 5000, 8000, 11000, 14000, 18000, 22000, 27000, 32000};
constexpr Labels kRundelayLabels = {500, 1000, 2000, 3000, 5000, 7000, 10000, 15000, 20000};
constexpr Labels kDStateLabels = {2000, 3000, 7000, 12000, 18000, 27000, 44000, 100000, 200000};

/* One for each interval view, and one for the sums of the first view. */
constinit Snapshot snapshots[9];

struct ViewFile {
	const char *name;
	int (*show)(seq_file *, void *);
	View view;
};

constexpr auto kIrqtime = Metric::kIrqtime;
constexpr auto kRuntime = Metric::kSvpRuntime;
constexpr auto kRundelay = Metric::kSvpRundelay;
constexpr auto kDState = Metric::kSvpDState;

constexpr ViewFile views[] = {
	{"sched_metrics_irqtime_total",
	 show_histogram_total_allocated,
	 {kIrqtime, "histogram irqtime total (us):\n", &kIrqtimeLabels, &snapshots[8]}},
	{"sched_metrics_irqtime",
	 show_histogram_interval,
	 {kIrqtime, "histogram irqtime interval (us):\n", &kIrqtimeLabels, &snapshots[0]}},
	{"sched_metrics_all_irqtime_sum_total",
	 show_sum_total,
	 {kIrqtime, "all irqtime_sum total (ms):\n", nullptr, nullptr}},
	{"sched_metrics_all_irqtime_sum",
	 show_sum_interval,
	 {kIrqtime, "all irqtime_sum interval (ms):\n", nullptr, &snapshots[1]}},
	{"sched_metrics_svp_runtime_total",
	 show_histogram_total,
	 {kRuntime, "histogram svp_runtime total (us):\n", &kRuntimeLabels, nullptr}},
	{"sched_metrics_svp_runtime",
	 show_histogram_interval,
	 {kRuntime, "histogram svp_runtime interval (us):\n", &kRuntimeLabels, &snapshots[2]}},
	{"sched_metrics_svp_runtime_sum_total",
	 show_sum_total,
	 {kRuntime, "svp_runtime_sum total (ms):\n", nullptr, nullptr}},
	{"sched_metrics_svp_runtime_sum",
	 show_sum_interval,
	 {kRuntime, "svp_runtime_sum interval (ms):\n", nullptr, &snapshots[3]}},
	{"sched_metrics_svp_rundelay_total",
	 show_histogram_total,
	 {kRundelay, "histogram_svp_run_delay total (us):\n", &kRundelayLabels, nullptr}},
	{"sched_metrics_svp_rundelay",
	 show_histogram_interval,
	 {kRundelay, "histogram svp_run_delay interval (us):\n", &kRundelayLabels, &snapshots[4]}},
	{"sched_metrics_svp_rundelay_sum_total",
	 show_sum_total,
	 {kRundelay, "svp_run_delay_sum total (ms):\n", nullptr, nullptr}},
	{"sched_metrics_svp_rundelay_sum",
	 show_sum_interval,
	 {kRundelay, "svp_run_delay_sum interval (ms):\n", nullptr, &snapshots[5]}},
	{"sched_metrics_svp_d_state_duration_total",
	 show_histogram_total,
	 {kDState, "histogram_svp_d_state_duration total (us):\n", &kDStateLabels, nullptr}},
	{"sched_metrics_svp_d_state_duration",
	 show_histogram_interval,
	 {kDState, "histogram svp_d_state_duration interval (us):\n", &kDStateLabels,
	  &snapshots[6]}},
	{"sched_metrics_svp_d_state_duration_sum_total",
	 show_sum_total,
	 {kDState, "svp_d_state_duration_sum total (ms):\n", nullptr, nullptr}},
	{"sched_metrics_svp_d_state_duration_sum",
	 show_sum_interval,
	 {kDState, "svp_d_state_duration_sum interval (ms):\n", nullptr, &snapshots[7]}},
};

constexpr size_t kViews = sizeof(views) / sizeof(views[0]);
static_assert(kViews == 16);

/* The switch, followed by the views. */
struct Rows {
	ProcRow row[1 + kViews];
};

consteval Rows rows()
{
	Rows rows{.row = {{.name = "sched_metrics_enabled",
			   .mode = 0644,
			   .file = &sched_metrics_switch}}};
	for (size_t i = 0; i < kViews; i++)
		rows.row[1 + i] = {
			.name = views[i].name, .show = views[i].show, .data = &views[i].view};
	return rows;
}

constexpr Rows kFiles = rows();

constinit ProcDirectory directory("sched_metrics", kFiles.row);

} /* namespace */

int proc_sched_metrics_init()
{
	for (Snapshot &snapshot : snapshots)
		snapshot.init("sched_metrics_file_mutex");
	return directory.create_for(__func__);
}

void proc_sched_metrics_destroy()
{
	directory.remove();
	for (Snapshot &snapshot : snapshots)
		snapshot.with([](SnapshotValues &values) { values.drop(); });
}

} /* namespace zem */
