/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Functions that show a metric as text. The file's data is its View. They run in the reader's
 * process. Context: may sleep.
 */
#pragma once

#include "kernel/lock.h"
#include "sched/sched_metrics.h"

struct seq_file;

namespace zem {

/* Labels of all buckets except the last, which is "others". */
using Labels = int[kBuckets - 1];

/*
 * The buffer of a file, with its lock. The first of two reads of an interval view stores the
 * counters in it; the second read shows the increase and frees it. All readers of the file share
 * it.
 */
class Snapshot {
public:
	constexpr Snapshot() = default;
	Snapshot(const Snapshot &) = delete;
	Snapshot &operator=(const Snapshot &) = delete;

	void init() { lock_.init("sched_metrics_file_mutex"); }

	Mutex &lock() { return lock_; }

	/* Locking: callers of all functions below hold lock(). */
	[[nodiscard]] bool is_taken() const { return values_; }

	/* Allocates @values zeros. Return: false without memory. */
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
	Snapshot *snapshot; /* of interval views, and of the view that allocates its sums */
};

int show_histogram_total(seq_file *file, void *);
int show_histogram_total_allocated(seq_file *file, void *);
int show_histogram_interval(seq_file *file, void *);
int show_sum_total(seq_file *file, void *);
int show_sum_interval(seq_file *file, void *);

} /* namespace zem */
