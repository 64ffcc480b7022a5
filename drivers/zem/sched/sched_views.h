/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Ways to show a metric as text. Each show function gets its View as the file's data and runs
 * in the reader's process; may sleep.
 */
#pragma once

#include "kernel/lock.h"
#include "sched/sched_metrics.h"

struct seq_file;

namespace zem {

/* Of the buckets but the last, which is "others". */
using Labels = int[kBuckets - 1];

/*
 * A file's own buffer behind its lock. An interval view keeps the counters of the first of two
 * reads in it; the second shows what came since and drops them. It is the file's, whoever reads.
 */
class Snapshot {
public:
	constexpr Snapshot() = default;
	Snapshot(const Snapshot &) = delete;
	Snapshot &operator=(const Snapshot &) = delete;

	void init() { lock_.init("sched_metrics_file_mutex"); }

	Mutex &lock() { return lock_; }

	/* The rest under lock(). */
	[[nodiscard]] bool is_taken() const { return values_; }

	/* As many zeros. Return: false without memory. */
	[[nodiscard]] bool take(size_t values);

	[[nodiscard]] u64 *values() { return values_; }

	void drop();

private:
	Mutex lock_;
	u64 *values_ = nullptr;
};

struct View {
	Metric metric;
	const char *title;
	const Labels *labels; /* of the histograms */
	Snapshot *snapshot; /* of the interval views, and where sums are allocated */
};

int show_histogram_total(seq_file *file, void *);
int show_histogram_total_allocated(seq_file *file, void *);
int show_histogram_interval(seq_file *file, void *);
int show_sum_total(seq_file *file, void *);
int show_sum_interval(seq_file *file, void *);

} /* namespace zem */
