// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/svp_metrics: the switch, and the collected tasks as text. Reading consumes the tasks that
 * it shows. The text is formatted task by task, so its buffer does not grow with the number of
 * tasks. Runs in the reader's process.
 */
#include "sched/svp_metrics_proc.h"

#include "kernel/api/proc_fs.h"
#include "kernel/proc_directory.h"
#include "sched/svp_collection.h"
#include "sched/svp_enrolment.h"

namespace zem {

namespace {

using Latencies = u32[ZEM_LATENCY_BUCKETS];

void show_counts(seq_file *file, const char *title, const u32 *counts, size_t count)
{
	seq_printf(file, "%s", title);
	for (size_t i = 0; i < count; i++)
		seq_printf(file, "%d, ", static_cast<int>(counts[i]));
}

void show_latencies(seq_file *file, const char *label, const Latencies &counts)
{
	seq_printf(file, "%s", label);
	for (const u32 count : counts)
		seq_printf(file, "%-12d", static_cast<int>(count));
	seq_printf(file, "\n");
}

/* Totals are printed as signed numbers, which readers of the file expect. */
s64 total(u64 value)
{
	return static_cast<s64>(value);
}

void show_common(seq_file *file, const zem_svp &svp)
{
	seq_printf(file, "---------------- svp common info ----------------\n");
	seq_printf(file, "tgid: %d\n", svp.tgid);
	seq_printf(file, "pid: %d\n", svp.pid);
	seq_printf(file, "thread_name: %s\n", svp.thread_name);
	seq_printf(file, "package_name: %s\n", svp.package_name);
}

void show_sched(seq_file *file, const zem_svp_stats &stats)
{
	seq_printf(file, "---------------- svp sched information ----------------\n");
	seq_printf(file, "run_delay_total: %lld\n", total(stats.run_delay_total));
	show_counts(file, "run_delay[]: ", stats.run_delay, 4);
	seq_printf(file, "\nruntime_total: %lld\n", total(stats.runtime_total));
	show_counts(file, "runtime[]: ", stats.runtime, 4);
	seq_printf(file, "\nd_state_duration_total: %lld\n", total(stats.d_state_duration_total));
	show_counts(file, "d_state_duration[]: ", stats.d_state_duration, 4);
	seq_printf(file, "\n\n");
}

void show_memory(seq_file *file, const zem_svp_stats &stats)
{
	seq_printf(file, "\n---------------- svp memory information ----------------\n");
	seq_printf(file, "page allocation failure order: ");
	for (int order = 0; order < ZEM_ALLOC_ORDERS; order++)
		seq_printf(file, "[%d]=%d, ", order,
			   static_cast<int>(stats.alloc_fail_order[order]));
	seq_printf(file, "\n\n");
	seq_printf(file, "type            [0,1ms) [1,8)ms     [8,16)ms    [16,33)ms   "
			 "[33,67)ms   [67,134)ms  [>=134ms)\n");
	show_latencies(file, "async_reclaim:  ", stats.async_reclaim);
	show_latencies(file, "async_compact:  ", stats.async_compact);
	show_latencies(file, "direct_reclaim: ", stats.direct_reclaim);
	show_latencies(file, "direct_compact: ", stats.direct_compact);
	show_latencies(file, "PG_locked:      ", stats.PG_locked);
	seq_printf(file, "\n\n");
}

/* The buckets of the durations and the cold start share a line. */
void show_io(seq_file *file, const zem_svp_stats &stats)
{
	seq_printf(file, "------------------ svp io information ------------------\n");
	seq_printf(file, "iowait_total: %lld iowait_total_cnt: %d\n", total(stats.iowait_total),
		   static_cast<int>(stats.iowait_total_cnt));
	show_counts(file, "iowait_duration[]: ", stats.iowait_duration, ZEM_LATENCY_BUCKETS);
	seq_printf(file, "iowait_coldstart: %lld iowait_coldstart_cnt %d\n",
		   total(stats.iowait_coldstart), static_cast<int>(stats.iowait_coldstart_cnt));
	seq_printf(file, "ui_iowait_long_cnt: %d\n", static_cast<int>(stats.ui_iowait_long_cnt));
	seq_printf(file, "read_bytes:  %lld read_syscall_cnt:  %d\n", total(stats.read_bytes),
		   static_cast<int>(stats.read_syscall_cnt));
	seq_printf(file, "write_bytes: %lld write_syscall_cnt: %d\n", total(stats.write_bytes),
		   static_cast<int>(stats.write_syscall_cnt));
	seq_printf(file, "bio_read_size: %lld bio_read_time: %lld bio_read_cnt: %d\n",
		   total(stats.bio_read_size), total(stats.bio_read_time),
		   static_cast<int>(stats.bio_read_cnt));
	seq_printf(file, "bio_write_size: %lld bio_write_time: %lld bio_write_cnt: %d\n",
		   total(stats.bio_write_size), total(stats.bio_write_time),
		   static_cast<int>(stats.bio_write_cnt));
	seq_printf(file, "\n\n");
}

void svp_metrics_show_unit(seq_file *file, const zem_svp &svp)
{
	show_common(file, svp);
	show_sched(file, svp.stats);
	show_memory(file, svp.stats);
	show_io(file, svp.stats);
}

/* The state of one open file. */
struct Cursor {
	bool is_collecting; /* a collection is in progress between start and stop */
	bool is_over; /* the last task has been shown */
};

Cursor &cursor_of(seq_file *file)
{
	return *static_cast<Cursor *>(helper_seq_private(file));
}

/* A reading begins with the tasks that are enrolled then. Later pieces continue it. */
void *svp_metrics_seq_start(seq_file *file, s64 *position)
{
	Cursor &cursor = cursor_of(file);
	if (*position == 0)
		cursor.is_over = false;
	if (cursor.is_over)
		return nullptr;
	task_ext *record = *position ? svp_collection_resume() : svp_collection_start();
	cursor.is_collecting = record;
	cursor.is_over = !record;
	return record;
}

void *svp_metrics_seq_next(seq_file *file, void *element, s64 *position)
{
	task_ext *record = svp_collection_next(*static_cast<task_ext *>(element));
	++*position;
	cursor_of(file).is_over = !record;
	return record;
}

/* @element is the first task that was not shown. */
void svp_metrics_seq_stop(seq_file *file, void *element)
{
	Cursor &cursor = cursor_of(file);
	if (cursor.is_collecting)
		svp_collection_end(static_cast<task_ext *>(element));
	cursor.is_collecting = false;
}

/* Exceeds the text of a task, and is less than the smallest buffer of a file. */
constexpr size_t kLongestUnit = 2304;

/* Showing consumes the counters. A task whose text does not fit waits for the next piece. */
int svp_metrics_seq_show(seq_file *file, void *element)
{
	if (!helper_seq_has_room(file, kLongestUnit))
		return 0;
	svp_collect(*static_cast<task_ext *>(element),
		    [file](const zem_svp &svp) { svp_metrics_show_unit(file, svp); });
	return 0;
}

constinit const seq_operations svp_metrics_operations{
	.start = svp_metrics_seq_start,
	.stop = svp_metrics_seq_stop,
	.next = svp_metrics_seq_next,
	.show = svp_metrics_seq_show,
};

constexpr ProcRow kFiles[] = {
	{.name = "svp_metrics_enabled", .mode = 0644, .file = &svp_metrics_switch},
	{.name = "svp_metrics",
	 .operations = &svp_metrics_operations,
	 .state_size = sizeof(Cursor)},
};

constinit ProcDirectory directory("svp_metrics", kFiles);

} /* namespace */

int proc_svp_metrics_init()
{
	return directory.create_for(__func__);
}

void proc_svp_metrics_destroy()
{
	directory.remove();
}

} /* namespace zem */
