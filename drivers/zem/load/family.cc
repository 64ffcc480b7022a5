// SPDX-License-Identifier: GPL-2.0
#include "load/family.h"

#include "linux/zem.h"
#include "load/clusters.h"
#include "load/cpu_load.h"
#include "load/load_metrics.h"
#include "load/load_metrics_proc.h"
#include "load/load_samples.h"
#include "load/task_load.h"

namespace zem {

int load_metrics_init()
{
	load_samples_init();
	clusters_init();
	load_metrics_attach();
	return proc_load_metrics_init();
}

void load_metrics_destroy()
{
	load_metrics_detach();
	proc_load_metrics_destroy();
}

/* The upload of the CPUs closes the window in which the tasks are sampled. */
void load_upload()
{
	cpu_metrics_info_upload(cpu_zem_set);
	load_metrics_info_upload(load_zem_set);
}

void load_prime()
{
	cpu_metrics_info_upload(nullptr);
	load_metrics_info_upload(nullptr);
}

} /* namespace zem */
