// SPDX-License-Identifier: GPL-2.0
/* The text of the views. Counters of other CPUs are read without a lock. */
#include "sched/sched_views.h"

#include "kernel/api/proc_fs.h"
#include "kernel/api/slab.h"
#include "kernel/cpus.h"

namespace zem {

namespace {

constexpr u64 kNanosecondsPerMillisecond = 1'000'000;

/* Exceeds the length of a line in any view. */
constexpr size_t kLongestLine = 256;
/* Title, labels, an empty line, sums. */
constexpr size_t kOtherLines = 5;

const View &view_of(const seq_file *file)
{
	return *static_cast<const View *>(helper_seq_private(file));
}

size_t possible_cpus()
{
	return helper_nr_cpu_ids();
}

/* The second read ends its interval, so it must not be repeated for lack of room. */
bool has_room(seq_file *file)
{
	return helper_seq_has_room(file, (possible_cpus() + kOtherLines) * kLongestLine);
}

void show_histogram_header(seq_file *file, const View &view)
{
	seq_printf(file, "%s", view.title);
	for (size_t i = 0; i < kBuckets - 1; i++)
		seq_printf(file, i == 0 ? "%25d " : "%15d ", (*view.labels)[i]);
	seq_printf(file, "%15s\n\n", "others");
}

void show_sum_header(seq_file *file, const View &view)
{
	seq_printf(file, "%s", view.title);
	for (const unsigned int cpu : PossibleCpus())
		seq_printf(file, "%15s%d ", "cpu", static_cast<int>(cpu));
	seq_printf(file, "%16s", "cpu\n");
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

u64 milliseconds(u64 ns)
{
	return ns / kNanosecondsPerMillisecond;
}

} /* namespace */

bool Snapshot::take(size_t values)
{
	values_ = static_cast<u64 *>(helper_kzalloc(values * sizeof(u64)));
	return values_;
}

void Snapshot::drop()
{
	kfree(values_);
	values_ = nullptr;
}

namespace {

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
	Snapshot &sums = *view.snapshot;
	LockGuard guard(sums.lock());

	if (!sums.take(kBuckets)) {
		seq_printf(file, "%s\n", "Memory kcalloc failed");
		return 0;
	}
	show_totals(file, view, sums.values());
	sums.drop();
	return 0;
}

int show_histogram_interval(seq_file *file, void *)
{
	const View &view = view_of(file);
	Snapshot &last = *view.snapshot;
	LockGuard guard(last.lock());

	if (!last.is_taken()) {
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

/* The view of interrupts is wider and has one more line than those of SVP tasks. */
int show_sum_total(seq_file *file, void *)
{
	const View &view = view_of(file);
	const bool of_interrupts = view.metric == Metric::kIrqtime;
	u64 sum = 0;

	show_sum_header(file, view);
	for (const unsigned int cpu : PossibleCpus()) {
		const u64 time = sched_metrics_time(cpu, view.metric);
		seq_printf(file, "%16llu ", milliseconds(time));
		sum += time;
	}
	seq_printf(file, of_interrupts ? "%16llu\n\n" : "%15llu\n", milliseconds(sum));
	return 0;
}

int show_sum_interval(seq_file *file, void *)
{
	const View &view = view_of(file);
	Snapshot &last = *view.snapshot;
	LockGuard guard(last.lock());

	if (!last.is_taken()) {
		if (!last.take(possible_cpus())) {
			seq_printf(file, "%s\n", "Memory kcalloc failed");
			return 0;
		}
		for (const unsigned int cpu : PossibleCpus())
			last.values()[cpu] = sched_metrics_time(cpu, view.metric);
		return 0;
	}
	if (!has_room(file))
		return 0;

	u64 sum = 0;
	show_sum_header(file, view);
	for (const unsigned int cpu : PossibleCpus()) {
		const u64 time = sched_metrics_time(cpu, view.metric) - last.values()[cpu];
		seq_printf(file, "%16u ", static_cast<u32>(milliseconds(time)));
		sum += time;
	}
	seq_printf(file, "%16llu\n", milliseconds(sum));
	last.drop();
	return 0;
}

} /* namespace zem */
