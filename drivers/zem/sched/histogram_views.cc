// SPDX-License-Identifier: GPL-2.0
/* The text of the histograms. Counters of other CPUs are read without a lock. */
#include "sched/histogram_views.h"

#include "kernel/cpus.h"
#include "sched/view.h"

namespace zem {

namespace {

void show_histogram_header(seq_file *file, const View &view)
{
	seq_printf(file, "%s", view.title);
	for (size_t i = 0; i < kBuckets - 1; i++)
		seq_printf(file, i == 0 ? "%25d " : "%15d ", (*view.labels)[i]);
	seq_printf(file, "%15s\n\n", "others");
}

/* @value returns the value of a CPU and bucket. @sums: zeros for all buckets. */
template <typename Value, typename Print>
void show_rows(seq_file *file, Value value, Print print, u64 *sums)
{
	for (const unsigned int cpu : PossibleCpus()) {
		seq_printf(file, "%7s %d:", "cpu", static_cast<int>(cpu));
		for (size_t bucket = 0; bucket < kBuckets; bucket++) {
			const u64 count = value(cpu, bucket);
			print(count);
			sums[bucket] += count;
		}
		seq_printf(file, "\n");
	}
	seq_printf(file, "%10s", "cpu:");
	for (size_t bucket = 0; bucket < kBuckets; bucket++)
		print(sums[bucket]);
	seq_printf(file, "\n");
}

void show_totals(seq_file *file, const View &view, u64 *sums)
{
	show_histogram_header(file, view);
	show_rows(
		file,
		[&](unsigned int cpu, size_t bucket) {
			return sched_metrics_count(cpu, view.metric, bucket);
		},
		[&](u64 count) { seq_printf(file, "%15llu ", count); }, sums);
}

int show_allocated(seq_file *file, const View &view, SnapshotValues &sums)
{
	if (!sums.take(kBuckets)) {
		seq_printf(file, "%s\n", "Memory kcalloc failed");
		return 0;
	}
	show_totals(file, view, sums.values());
	sums.drop();
	return 0;
}

int begin_interval(seq_file *file, const View &view, SnapshotValues &last)
{
	if (!last.take(possible_cpus() * kBuckets)) {
		seq_printf(file, "%s\n", "Memory kzalloc failed");
		return 0;
	}
	for (const unsigned int cpu : PossibleCpus())
		for (size_t bucket = 0; bucket < kBuckets; bucket++)
			last.values()[cpu * kBuckets + bucket] =
				sched_metrics_count(cpu, view.metric, bucket);
	return 0;
}

int end_interval(seq_file *file, const View &view, SnapshotValues &last)
{
	if (!has_room(file))
		return 0;

	u64 sums[kBuckets]{};
	show_histogram_header(file, view);
	show_rows(
		file,
		[&](unsigned int cpu, size_t bucket) {
			return sched_metrics_count(cpu, view.metric, bucket) -
			       last.values()[cpu * kBuckets + bucket];
		},
		[&](u64 count) { seq_printf(file, "%15u ", static_cast<u32>(count)); }, sums);
	last.drop();
	return 0;
}

} /* namespace */

int show_histogram_total(seq_file *file, void *)
{
	u64 sums[kBuckets]{};

	show_totals(file, view_of(file), sums);
	return 0;
}

int show_histogram_total_allocated(seq_file *file, void *)
{
	const View &view = view_of(file);
	return view.snapshot->with(
		[&](SnapshotValues &sums) { return show_allocated(file, view, sums); });
}

int show_histogram_interval(seq_file *file, void *)
{
	const View &view = view_of(file);
	return view.snapshot->with([&](SnapshotValues &last) {
		return last.is_taken() ? end_interval(file, view, last) :
					 begin_interval(file, view, last);
	});
}

} /* namespace zem */
