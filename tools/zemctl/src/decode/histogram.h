/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Histograms of durations: a table of the four scheduler histograms, and functions that format
 * bounds, counts and times. A histogram with n bounds has n + 1 buckets. A value that equals a
 * bound is in the bucket above it.
 */
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <linux/zem.h>

#include "text/json_writer.h"
#include "text/text.h"

namespace zemctl {

/* The unit in which bounds below one millisecond are shown. */
enum class BoundUnit { kMicroseconds, kMilliseconds };

using Bounds = std::span<const std::uint32_t>; /* microseconds */

/* The unit of the times of the sched record, in ns. */
inline constexpr std::uint64_t kSchedTimeUnit = 1024;

inline constexpr std::size_t kSchedBounds = ZEM_SCHED_BUCKETS - 1;

/* A histogram of the sched record. /proc/sched_metrics shows it as well. */
struct SchedHistogram {
	std::string_view name; /* as in struct zem_sched */
	std::string_view title;
	std::string_view verb; /* for a record's line */
	zem_sched_block zem_sched::*block;
	std::string_view counts_view; /* in /proc/sched_metrics */
	std::string_view time_view;
	BoundUnit unit;
	std::array<std::uint32_t, kSchedBounds> bounds;
};

inline constexpr std::array kSchedHistograms = {
	SchedHistogram{"irqtime",
		       "hard interrupts",
		       "irq",
		       &zem_sched::irqtime,
		       "sched_metrics_irqtime_total",
		       "sched_metrics_all_irqtime_sum_total",
		       BoundUnit::kMicroseconds,
		       {100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000}},
	SchedHistogram{"svp_runtime",
		       "SVP tasks on a CPU",
		       "svp ran",
		       &zem_sched::svp_runtime,
		       "sched_metrics_svp_runtime_total",
		       "sched_metrics_svp_runtime_sum_total",
		       BoundUnit::kMilliseconds,
		       {2000, 5000, 8000, 11000, 15000, 18000, 22000, 27000, 32000}},
	SchedHistogram{"svp_rundelay",
		       "SVP tasks waiting for a CPU",
		       "waited",
		       &zem_sched::svp_rundelay,
		       "sched_metrics_svp_rundelay_total",
		       "sched_metrics_svp_rundelay_sum_total",
		       BoundUnit::kMilliseconds,
		       {500, 1000, 2000, 3000, 5000, 7000, 10000, 15000, 20000}},
	SchedHistogram{"svp_d_state",
		       "SVP tasks in uninterruptible sleep",
		       "slept in D state",
		       &zem_sched::svp_d_state,
		       "sched_metrics_svp_d_state_duration_total",
		       "sched_metrics_svp_d_state_duration_sum_total",
		       BoundUnit::kMilliseconds,
		       {2000, 3000, 7000, 12000, 18000, 27000, 44000, 100000, 200000}},
};

/* "12.345 ms" */
std::string format_milliseconds(std::uint64_t nanoseconds);
void append_milliseconds(TextBuffer &out, std::uint64_t nanoseconds);

/* Writes the member "sched_bounds_us", the bounds of the histograms of the sched record. */
void sched_bounds_json(JsonWriter &json);

/* "<0.5 ms", and ">=20 ms" for the last bucket. */
std::string bucket_label(Bounds bounds, std::size_t bucket, BoundUnit unit);

/* "<2 ms 10, <10 ms 3, >=10 ms 0"; @counts is one longer than @bounds. */
std::string format_counts(Bounds bounds, std::span<const std::uint32_t> counts, BoundUnit unit);

} // namespace zemctl
