/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Per-CPU histograms of hard interrupts, and of SVP tasks that run, wait for a CPU and sleep
 * uninterruptibly: the totals since load.
 */
#pragma once

#include "kernel/api/types.h"
#include "uapi/linux/zem.h"

struct proc_file;

namespace zem {

/* The columns of the histogram, in memory order. */
enum class Metric : u8 {
	kIrqtime,
	kSvpRuntime,
	kSvpRundelay,
	kSvpDState,
};

inline constexpr size_t kMetrics = 4;
inline constexpr size_t kBuckets = ZEM_SCHED_BUCKETS;

/* Counters of one CPU, never reset. Only that CPU writes; others read without a lock. */
struct SchedMetricsData {
	u64 hist[kBuckets][kMetrics];
	u64 svp_runtime_sum; /* ns */
	u64 svp_rundelay_sum; /* ns */
	u64 svp_d_state_sum; /* ns */
};

static_assert(sizeof(SchedMetricsData) == 344);

/* Gates all counting except that of pending run delays; on at load. */
extern const proc_file sched_metrics_switch;

/* A CPU's count in a bucket, and its time in ns, since load. Context: any. */
[[nodiscard]] u64 sched_metrics_count(unsigned int cpu, Metric metric, size_t bucket);
[[nodiscard]] u64 sched_metrics_time(unsigned int cpu, Metric metric);

/* Attaches the handlers, which stay attached. Context: may sleep. */
void sched_metrics_attach();

/*
 * Attaches the handlers of restricted hooks. Nothing can detach them, so the module's code must not
 * be freed any more. Context: may sleep.
 */
void sched_metrics_attach_restricted();

} /* namespace zem */
