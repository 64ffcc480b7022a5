// SPDX-License-Identifier: GPL-2.0
/*
 * The increase of the histograms since the previous upload, as a record. Called by the collector,
 * the trigger and start-up. Context: process.
 */
#include "sched/sched_metrics_upload.h"

#include "kernel/cpus.h"
#include "kernel/guarded.h"
#include "sched/sched_metrics.h"

namespace zem {

namespace {

constexpr size_t kNamedCpus = ZEM_SCHED_CPUS;
constexpr size_t kAllCpus = kNamedCpus; /* the entry after them */
constexpr unsigned int kRecordUnit = 10; /* bits: 1024 ns */

/* The totals at one upload. CPUs without an entry count in the sum. */
struct Totals {
	u64 hist[kBuckets][kMetrics];
	u64 time[kMetrics][kNamedCpus + 1]; /* ns */
};

static_assert(sizeof(Totals) == 608);

struct Uploads {
	/* The present and the previous totals, alternating. */
	Totals sched_metrics_data_cal[2];
	u32 index;
	zem_sched sm_delta_info;
};

constinit Guarded<Uploads, Mutex> uploads;

/* The order of the times in the totals. */
constexpr Metric kTimeOrder[kMetrics] = {Metric::kIrqtime, Metric::kSvpRundelay,
					 Metric::kSvpRuntime, Metric::kSvpDState};

void take(Totals &totals)
{
	totals = {};
	for (const unsigned int cpu : PossibleCpus()) {
		for (size_t bucket = 0; bucket < kBuckets; bucket++)
			for (size_t column = 0; column < kMetrics; column++)
				totals.hist[bucket][column] += sched_metrics_count(
					cpu, static_cast<Metric>(column), bucket);
		for (size_t row = 0; row < kMetrics; row++) {
			const u64 time = sched_metrics_time(cpu, kTimeOrder[row]);
			if (cpu < kNamedCpus)
				totals.time[row][cpu] = time;
			totals.time[row][kAllCpus] += time;
		}
	}
}

u32 time_increase(u64 now, u64 before)
{
	return static_cast<u32>((now - before) >> kRecordUnit);
}

void fill(zem_sched_block &block, Metric metric, size_t row, const Totals &now,
	  const Totals &before)
{
	const auto column = static_cast<size_t>(metric);
	for (size_t bucket = 0; bucket < kBuckets; bucket++)
		block.counts[bucket] = static_cast<u32>(now.hist[bucket][column]) -
				       static_cast<u32>(before.hist[bucket][column]);
	for (size_t cpu = 0; cpu < kNamedCpus; cpu++)
		block.cpu_time[cpu] = time_increase(now.time[row][cpu], before.time[row][cpu]);
	block.total_time = time_increase(now.time[row][kAllCpus], before.time[row][kAllCpus]);
}

const zem_sched &next_upload(Uploads &uploads)
{
	Totals &now = uploads.sched_metrics_data_cal[uploads.index];
	const Totals &before = uploads.sched_metrics_data_cal[uploads.index ^ 1];
	zem_sched &delta = uploads.sm_delta_info;

	take(now);
	fill(delta.irqtime, Metric::kIrqtime, 0, now, before);
	fill(delta.svp_rundelay, Metric::kSvpRundelay, 1, now, before);
	fill(delta.svp_runtime, Metric::kSvpRuntime, 2, now, before);
	fill(delta.svp_d_state, Metric::kSvpDState, 3, now, before);
	uploads.index ^= 1;
	return delta;
}

} /* namespace */

void sched_metrics_upload_init()
{
	uploads.init("zem_sched_upload");
}

void sched_metrics_info_upload(Setter set)
{
	uploads.with([set](Uploads &uploads) { upload(set, next_upload(uploads)); });
}

} /* namespace zem */
