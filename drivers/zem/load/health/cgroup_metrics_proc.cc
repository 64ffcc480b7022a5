// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/cgroup_metrics: the switch, and the values of the interval as text. Reading consumes the
 * interval. Runs in the reader's process.
 */
#include "load/health/cgroup_metrics_proc.h"

#include "kernel/api/proc_fs.h"
#include "kernel/proc_directory.h"
#include "load/health/cgroup_metrics.h"

namespace zem {

namespace {

/* The text is much shorter than the smallest buffer of a file. */
void cgroup_metrics_show_unit(seq_file *file, const zem_cgroup &unit)
{
	for (const zem_cgroup_entry &entry : unit.entries)
		seq_printf(file, "%s %llu %llu %llu\n", entry.name, entry.lat, entry.d_io,
			   entry.d_nonio);
}

int cgroup_metrics_show(seq_file *file, void *)
{
	cgroup_metrics_info_iter(
		[file](const zem_cgroup &unit) { cgroup_metrics_show_unit(file, unit); });
	return 0;
}

constexpr ProcRow kFiles[] = {
	{.name = "cgroup_metrics_enabled", .mode = 0644, .file = &cgroup_metrics_switch},
	{.name = "cgroup_metrics", .show = cgroup_metrics_show},
};

constinit ProcDirectory directory("cgroup_metrics", kFiles);

} /* namespace */

void proc_cgroup_metrics_init()
{
	static_cast<void>(directory.create_for(__func__));
}

void proc_cgroup_metrics_destroy()
{
	directory.remove();
}

} /* namespace zem */
