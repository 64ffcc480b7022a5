// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/load_metrics: three switches, and the load as text. Reading the text closes the sampling
 * window and consumes the values. Runs in the reader's process.
 */
#include "load/load_metrics_proc.h"

#include "kernel/api/proc_fs.h"
#include "kernel/proc_directory.h"
#include "kernel/rcu.h"
#include "kernel/switch_file.h"
#include "kernel/task.h"
#include "kernel/tasks.h"
#include "load/clusters.h"
#include "load/cpu_load.h"
#include "load/load_metrics.h"
#include "load/load_samples.h"
#include "load/task_load.h"

namespace zem {

namespace {

/*
 * The position in one open file. No task is held between two pieces of the text, so the task is
 * identified by its pid and its start time, because pids are reused.
 */
struct Cursor {
	int pid; /* 0: at the end */
	u64 start_time;
	u64 process_start_time;
	u64 window; /* ns, as in the header; 0: the header was not shown yet */
};

Cursor &cursor_of(seq_file *file)
{
	return *static_cast<Cursor *>(helper_seq_private(file));
}

/* Return: the task's entry in the list of processes: its leader, or the task itself without one. */
const task_struct *process_of(const task_struct *task)
{
	const task_struct *leader = task_group_leader(task);
	return leader ? leader : task;
}

void remember(Cursor &cursor, const task_struct *task)
{
	cursor.pid = task_pid_nr(task);
	cursor.start_time = helper_task_start_time(task);
	cursor.process_start_time = helper_task_start_time(process_of(task));
}

/* Return: the first process that started after @start_time, or the initial task. */
task_struct *first_after(u64 start_time)
{
	for (task_struct *process : Processes())
		if (helper_task_start_time(process) > start_time)
			return process;
	return helper_initial_task();
}

/* Return: the task, or if it has exited the process after its own. */
task_struct *find(const Cursor &cursor)
{
	task_struct *task = helper_find_task(cursor.pid);
	if (task && helper_task_start_time(task) == cursor.start_time)
		return task;
	return first_after(cursor.process_start_time);
}

/* The initial task is the first element, and also ends the sequence. */
void *element_of(task_struct *task, Cursor &cursor)
{
	remember(cursor, task);
	return cursor.pid ? task : nullptr;
}

/* The RCU read section lasts until load_metrics_seq_stop(). */
void *load_metrics_seq_start(seq_file *file, s64 *position)
{
	Cursor &cursor = cursor_of(file);

	helper_rcu_read_lock();
	if (*position == 0) {
		cursor = {};
		return helper_initial_task();
	}
	return cursor.pid ? element_of(find(cursor), cursor) : nullptr;
}

void load_metrics_seq_stop(seq_file *, void *)
{
	helper_rcu_read_unlock();
}

void *load_metrics_seq_next(seq_file *file, void *element, s64 *position)
{
	auto *task = static_cast<task_struct *>(element);
	task_struct *next = thread_metrics_enable.is_on() ? helper_next_thread(task) : nullptr;

	++*position;
	if (!next)
		next = helper_next_process(process_of(task));
	return element_of(next, cursor_of(file));
}

/* Exceeds the length of the header and of a task's line. */
constexpr size_t kLongestPiece = 512;

void show_header(seq_file *file, u64 &window)
{
	const auto show_cpu = [file](const zem_cpu &unit) {
		seq_printf(file, "%llu(%llu%%) ", unit.usage, percent_of_capacity(unit.usage));
	};
	load_samples.with([&](LoadSamples &samples) {
		samples.window.reset_load_start_time();
		window = samples.window.time_delta;
		seq_printf(file, "time: %llu %llu\n", samples.window.load_wallclock, window);
		seq_printf(file, "cpu:");
		if (window)
			sample_cpus(samples.cpus, show_cpu);
		seq_printf(file, "\n");
	});
}

void load_metrics_show_unit(seq_file *file, const zem_load &unit)
{
	seq_printf(file, "pid:%d %d comm:%s ppid:%d pkg:%s %llu(%llu%%) %llu(%llu%%)\n",
		   static_cast<int>(unit.pid), unit.leader_flag, unit.comm, unit.ppid, unit.pkg,
		   unit.usage, percent_of_capacity(unit.usage), unit.combined,
		   percent_of_capacity(unit.combined));
}

/* Showing consumes the values, so it requires room for the text. */
int load_metrics_seq_show(seq_file *file, void *element)
{
	if (!element || !helper_seq_has_room(file, kLongestPiece))
		return 0;
	Cursor &cursor = cursor_of(file);
	if (!helper_seq_index(file))
		show_header(file, cursor.window);
	get_task_load_metrics(static_cast<task_struct *>(element), cursor.window,
			      [file](const zem_load &unit) { load_metrics_show_unit(file, unit); });
	return 0;
}

constinit const seq_operations load_metrics_operations{
	.start = load_metrics_seq_start,
	.stop = load_metrics_seq_stop,
	.next = load_metrics_seq_next,
	.show = load_metrics_seq_show,
};

/* Any write that leaves accounting on starts a new window. */
ssize_t load_metrics_enabled_write(const char *user_text, size_t count, void *key)
{
	const ssize_t taken = switch_file::write(user_text, count, key);
	if (taken > 0 && static_key_count(static_cast<static_key *>(key)) >= 1)
		load_samples.with(
			[](LoadSamples &samples) { samples.window.reset_load_start_time(); });
	return taken;
}

constinit const proc_file enabled_file{
	.show = switch_file::show,
	.write = load_metrics_enabled_write,
	.data = load_metrics_enable.key(),
};
constinit const proc_file report_file = switch_over(load_metrics_report);
constinit const proc_file threads_file = switch_over(thread_metrics_enable);

constexpr ProcRow kFiles[] = {
	{.name = "load_metrics_enabled", .mode = 0644, .file = &enabled_file},
	{.name = "load_metrics_report", .mode = 0644, .file = &report_file, .stays = true},
	{.name = "thread_metrics_enabled", .mode = 0644, .file = &threads_file},
	{.name = "load_metrics",
	 .operations = &load_metrics_operations,
	 .state_size = sizeof(Cursor)},
};

constinit ProcDirectory directory("load_metrics", kFiles);

} /* namespace */

int proc_load_metrics_init()
{
	return directory.create_for(__func__);
}

void proc_load_metrics_destroy()
{
	directory.remove();
}

} /* namespace zem */
