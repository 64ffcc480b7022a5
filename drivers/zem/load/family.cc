// SPDX-License-Identifier: GPL-2.0
#include "load/family.h"

#include "linux/zem.h"
#include "load/load_metrics.h"

namespace zem {

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
