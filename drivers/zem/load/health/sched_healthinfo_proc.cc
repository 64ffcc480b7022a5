// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/morva_sched_healthinfo: the switch, and the sums of each CPU and of all CPUs as text. Runs
 * in the reader's process.
 */
#include "load/health/sched_healthinfo_proc.h"

#include "kernel/api/parse.h"
#include "kernel/api/proc_fs.h"
#include "kernel/cpus.h"
#include "kernel/proc_directory.h"
#include "load/health/sched_healthinfo.h"

namespace zem {

namespace {

int sched_healthinfo_enable_show(seq_file *file, void *)
{
	seq_printf(file, "%u\n", sched_healthinfo_enabled());
	return 0;
}

/* Any number except 0 clears the sums, even if they are being recorded. */
ssize_t sched_healthinfo_enable_write(const char *user_text, size_t count, void *)
{
	unsigned int wanted;
	if (const int error = kstrtouint_from_user(user_text, count, 10, &wanted))
		return error;
	if (wanted)
		sched_healthinfo_restart();
	else
		sched_healthinfo_stop();
	return static_cast<ssize_t>(count);
}

/* Labels including their padding. */
struct RowLabels {
	const char *lat;
	const char *d_io;
	const char *d_nonio;
};

constexpr RowLabels kRows[kHealthRows] = {
	{"total_lat: ", "total_d_io: ", "total_d_nonio: "},
	{"root_lat:  ", "root_d_io:  ", "root_d_nonio:  "},
	{"fg_lat:    ", "fg_d_io:    ", "fg_d_nonio:    "},
	{"top_lat:   ", "top_d_io:   ", "top_d_nonio:   "},
	{"bg_lat:    ", "bg_d_io:    ", "bg_d_nonio:    "},
	{"sysbg_lat: ", "sysbg_d_io: ", "sysbg_d_nonio: "},
	{"svp_lat:   ", "svp_d_io:   ", "svp_d_nonio:   "},
};

void show_block(seq_file *file, const HealthSums &sums)
{
	for (size_t row = 0; row < kHealthRows; row++)
		seq_printf(file, "%s%12llu  %s%12llu  %s%12llu \n", kRows[row].lat, sums[row][0],
			   kRows[row].d_io, sums[row][1], kRows[row].d_nonio, sums[row][2]);
	seq_printf(file, "\n");
}

int sched_healthinfo_show(seq_file *file, void *)
{
	HealthSums total{};
	for (const unsigned int cpu : PossibleCpus()) {
		HealthSums sums{};
		add_sched_healthinfo(cpu, sums);
		for (size_t row = 0; row < kHealthRows; row++)
			sched_healthinfo_sum(total[row], sums[row]);
		seq_printf(file, "\nCPU%d\n", static_cast<int>(cpu));
		show_block(file, sums);
	}
	seq_printf(file, "\n==================\nthe sum of sched health information are:\n");
	show_block(file, total);
	return 0;
}

constinit const proc_file enable_file{
	.show = sched_healthinfo_enable_show,
	.write = sched_healthinfo_enable_write,
	.data = nullptr,
};

constinit const proc_file report_file{
	.show = sched_healthinfo_show,
	.write = nullptr,
	.data = nullptr,
};

constexpr ProcRow kFiles[] = {
	{.name = "sched_healthinfo_enable", .mode = 0644, .file = &enable_file},
	{.name = "sched_healthinfo", .mode = 0644, .file = &report_file},
};

constinit ProcDirectory directory("morva_sched_healthinfo", kFiles);

} /* namespace */

int sched_healthinfo_procfs_init()
{
	return directory.create_whole();
}

void sched_healthinfo_procfs_exit()
{
	directory.remove_whole();
}

} /* namespace zem */
