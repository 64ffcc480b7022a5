/* SPDX-License-Identifier: GPL-2.0 */
/* What the views of the metrics have in common. Context: may sleep. */
#pragma once

#include "kernel/api/cpumask.h"
#include "kernel/api/proc_fs.h"
#include "sched/sched_metrics.h"
#include "sched/snapshot.h"

namespace zem {

/* Labels of all buckets except the last, which is "others". */
using Labels = int[kBuckets - 1];

/* The data of a view's file. */
struct View {
	Metric metric;
	const char *title;
	const Labels *labels; /* of the histograms */
	Snapshot *snapshot; /* of interval views, and of the view that allocates its sums */
};

[[nodiscard]] inline const View &view_of(const seq_file *file)
{
	return *static_cast<const View *>(helper_seq_private(file));
}

[[nodiscard]] inline size_t possible_cpus()
{
	return helper_nr_cpu_ids();
}

/* The second read ends its interval, so it must not be repeated for lack of room. */
[[nodiscard]] inline bool has_room(seq_file *file)
{
	constexpr size_t kLongestLine = 256;
	/* Title, labels, an empty line, sums. */
	constexpr size_t kOtherLines = 5;

	return helper_seq_has_room(file, (possible_cpus() + kOtherLines) * kLongestLine);
}

} /* namespace zem */
