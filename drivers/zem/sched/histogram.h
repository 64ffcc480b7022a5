/* SPDX-License-Identifier: GPL-2.0 */
/* Bounds of the histograms, and counting. Context: any, but only on the column's CPU. */
#pragma once

#include "kernel/atomic.h"
#include "sched/sched_metrics.h"

namespace zem {

inline constexpr u64 kMicrosecond = 1000;
inline constexpr u64 kMillisecond = 1000 * kMicrosecond;

/* Upper bounds of the buckets. Values from the last bound on have a bucket of their own. */
template <size_t count>
struct Bounds {
	u64 upper[count];
};

inline constexpr Bounds<9> kIrqtimeBounds{{
	100 * kMicrosecond,
	200 * kMicrosecond,
	300 * kMicrosecond,
	500 * kMicrosecond,
	1 * kMillisecond,
	2 * kMillisecond,
	4 * kMillisecond,
	6 * kMillisecond,
	8 * kMillisecond,
}};

inline constexpr Bounds<9> kSvpRuntimeBounds{{
	2 * kMillisecond,
	5 * kMillisecond,
	8 * kMillisecond,
	11 * kMillisecond,
	15 * kMillisecond,
	18 * kMillisecond,
	22 * kMillisecond,
	27 * kMillisecond,
	32 * kMillisecond,
}};

inline constexpr Bounds<9> kSvpRundelayBounds{{
	500 * kMicrosecond,
	1 * kMillisecond,
	2 * kMillisecond,
	3 * kMillisecond,
	5 * kMillisecond,
	7 * kMillisecond,
	10 * kMillisecond,
	15 * kMillisecond,
	20 * kMillisecond,
}};

inline constexpr Bounds<9> kSvpDStateBounds{{
	2 * kMillisecond,
	3 * kMillisecond,
	7 * kMillisecond,
	12 * kMillisecond,
	18 * kMillisecond,
	27 * kMillisecond,
	44 * kMillisecond,
	100 * kMillisecond,
	200 * kMillisecond,
}};

/* The four buckets of a task's own counters. */
inline constexpr Bounds<3> kTaskRuntimeBounds{
	{5 * kMillisecond, 15 * kMillisecond, 30 * kMillisecond}};
inline constexpr Bounds<3> kTaskRundelayBounds{
	{2 * kMillisecond, 10 * kMillisecond, 20 * kMillisecond}};
inline constexpr Bounds<3> kTaskDStateBounds{
	{3 * kMillisecond, 10 * kMillisecond, 30 * kMillisecond}};

/* A chain of comparisons: the bounds are constant, and most values are below the first few. */
template <size_t count>
[[nodiscard, gnu::always_inline]] inline size_t bucket_of(const Bounds<count> &bounds, u64 value)
{
#pragma GCC unroll 9
	for (size_t i = 0; i < count; i++)
		if (value < bounds.upper[i])
			return i;
	return count;
}

using Histogram = u64[kBuckets][kMetrics];

template <Metric metric>
[[gnu::always_inline]] inline void count_in(Histogram &hist, const Bounds<9> &bounds, u64 value)
{
	add_once(1, hist[bucket_of(bounds, value)][static_cast<size_t>(metric)]);
}

inline void irqtime_histogram_data_store(Histogram &hist, u64 ns)
{
	count_in<Metric::kIrqtime>(hist, kIrqtimeBounds, ns);
}

inline void svp_runtime_histogram_data_store(Histogram &hist, u64 ns)
{
	count_in<Metric::kSvpRuntime>(hist, kSvpRuntimeBounds, ns);
}

inline void svp_rundelay_histogram_data_store(Histogram &hist, u64 ns)
{
	count_in<Metric::kSvpRundelay>(hist, kSvpRundelayBounds, ns);
}

inline void svp_d_state_duration_histogram_data_store(Histogram &hist, u64 ns)
{
	count_in<Metric::kSvpDState>(hist, kSvpDStateBounds, ns);
}

} /* namespace zem */
