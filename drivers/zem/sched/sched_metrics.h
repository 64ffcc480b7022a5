/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Per-CPU histograms of interrupt time and of what SVP tasks do: run, wait to run, sleep
 * uninterruptibly. Since load, and as the increase between two uploads.
 */
#pragma once

#include "kernel/percpu.h"
#include "kernel/static_key.h"
#include "uapi/linux/zem.h"

namespace zem {

/* The columns of the histogram, in the order in which they stand in memory. */
enum class Metric : u8 {
	kIrqtime,
	kSvpRuntime,
	kSvpRundelay,
	kSvpDState,
};

inline constexpr size_t kMetrics = 4;
inline constexpr size_t kBuckets = ZEM_SCHED_BUCKETS;

/* One CPU's, never reset. That CPU alone counts; others read without a lock. */
struct SchedMetricsData {
	u64 hist[kBuckets][kMetrics];
	u64 svp_runtime_sum; /* ns */
	u64 svp_rundelay_sum; /* ns */
	u64 svp_d_state_sum; /* ns */
};

static_assert(sizeof(SchedMetricsData) == 344);

extern PerCpu<SchedMetricsData> sched_metrics_data;

/* Gates all counting but that of pending run delays; on at load. */
extern StaticKey<true> sched_metrics_enable;

/* A CPU's count in a bucket, and its time in ns, since load. Any context. */
[[nodiscard]] u64 sched_metrics_count(unsigned int cpu, Metric metric, size_t bucket);
[[nodiscard]] u64 sched_metrics_time(unsigned int cpu, Metric metric);

/* May sleep. Return: 0 or -ENOMEM; the hooks are attached either way, for good. */
[[nodiscard]] int sched_metrics_init();
void sched_metrics_destroy();

/*
 * The increase since the call before, never null; the next call writes over it. Process context;
 * callers take turns.
 */
[[nodiscard]] const zem_sched *sched_metrics_info_upload();

/* sched_metrics_proc.cc. May sleep. Return: 0 or -ENOMEM. */
[[nodiscard]] int proc_sched_metrics_init();
void proc_sched_metrics_destroy();

} /* namespace zem */
