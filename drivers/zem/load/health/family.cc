// SPDX-License-Identifier: GPL-2.0
#include "load/health/family.h"

#include "linux/zem.h"
#include "load/health/cgroup_metrics.h"
#include "load/health/cgroup_metrics_proc.h"
#include "load/health/sched_healthinfo.h"
#include "load/health/sched_healthinfo_proc.h"

namespace zem {

int cgroup_metrics_init()
{
	cgroup_samples_init();
	sched_healthinfo_init();
	sched_healthinfo_procfs_init();
	proc_cgroup_metrics_init();
	return cgroup_samples_alloc();
}

/* The files are removed before the data that they show. */
void cgroup_metrics_destroy()
{
	proc_cgroup_metrics_destroy();
	cgroup_samples_free();
	sched_healthinfo_exit();
	sched_healthinfo_procfs_exit();
}

void cgroup_upload()
{
	cgroup_metrics_info_upload(cgroup_zem_set);
}

void cgroup_prime()
{
	cgroup_metrics_info_upload(nullptr);
}

} /* namespace zem */
