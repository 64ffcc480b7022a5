// SPDX-License-Identifier: GPL-2.0
/* The text of the sums. Counters of other CPUs are read without a lock. */
#include "sched/sum_views.h"

#include "kernel/cpus.h"
#include "kernel/duration.h"
#include "sched/view.h"

namespace zem {

namespace {

void show_sum_header(seq_file *file, const View &view)
{
	seq_printf(file, "%s", view.title);
	for (const unsigned int cpu : PossibleCpus())
		seq_printf(file, "%15s%d ", "cpu", static_cast<int>(cpu));
	seq_printf(file, "%16s", "cpu\n");
}

int begin_interval(seq_file *file, const View &view, SnapshotValues &last)
{
	if (!last.take(possible_cpus())) {
		seq_printf(file, "%s\n", "Memory kcalloc failed");
		return 0;
	}
	for (const unsigned int cpu : PossibleCpus())
		last.values()[cpu] = sched_metrics_time(cpu, view.metric);
	return 0;
}

int end_interval(seq_file *file, const View &view, SnapshotValues &last)
{
	if (!has_room(file))
		return 0;

	Nanoseconds sum{0};
	show_sum_header(file, view);
	for (const unsigned int cpu : PossibleCpus()) {
		const Nanoseconds time{sched_metrics_time(cpu, view.metric) - last.values()[cpu]};
		seq_printf(file, "%16u ", static_cast<u32>(milliseconds(time).count));
		sum.count += time.count;
	}
	seq_printf(file, "%16llu\n", milliseconds(sum).count);
	last.drop();
	return 0;
}

} /* namespace */

/* The view of interrupts is wider and has one more line than those of SVP tasks. */
int show_sum_total(seq_file *file, void *)
{
	const View &view = view_of(file);
	const bool of_interrupts = view.metric == Metric::kIrqtime;
	Nanoseconds sum{0};

	show_sum_header(file, view);
	for (const unsigned int cpu : PossibleCpus()) {
		const Nanoseconds time{sched_metrics_time(cpu, view.metric)};
		seq_printf(file, "%16llu ", milliseconds(time).count);
		sum.count += time.count;
	}
	seq_printf(file, of_interrupts ? "%16llu\n\n" : "%15llu\n", milliseconds(sum).count);
	return 0;
}

int show_sum_interval(seq_file *file, void *)
{
	const View &view = view_of(file);
	return view.snapshot->with([&](SnapshotValues &last) {
		return last.is_taken() ? end_interval(file, view, last) :
					 begin_interval(file, view, last);
	});
}

} /* namespace zem */
