// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/cgroup_metrics: the switch, and the values of the interval as text. Reading consumes the
 * interval. Runs in the reader's process.
 */
#include "kernel/api/printk.h"
#include "kernel/api/proc_fs.h"
#include "kernel/proc_files.h"
#include "kernel/switch_file.h"
#include "load/health/cgroup_metrics.h"

namespace zem {

namespace {

constinit const proc_file enabled_file = switch_over(cgroup_metrics_enable);

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

constinit ProcFiles<2> made;

} /* namespace */

void proc_cgroup_metrics_init()
{
	proc_dir_entry *directory = proc_mkdir("cgroup_metrics", nullptr);
	if (!directory) {
		pr_err("Error in %s!\n", __func__);
		return;
	}
	made.add(helper_proc_create("cgroup_metrics_enabled", 0644, directory, &enabled_file));
	made.add(proc_create_single_data("cgroup_metrics", 0, directory, cgroup_metrics_show,
					 nullptr));
	pr_info("%s Success!\n", __func__);
}

/* The directory stays. */
void proc_cgroup_metrics_destroy()
{
	made.remove();
}

} /* namespace zem */
