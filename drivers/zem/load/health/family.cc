// SPDX-License-Identifier: GPL-2.0
#include "load/health/family.h"

#include "linux/zem.h"
#include "load/health/cgroup_metrics.h"

namespace zem {

void cgroup_upload()
{
	cgroup_metrics_info_upload(cgroup_zem_set);
}

void cgroup_prime()
{
	cgroup_metrics_info_upload(nullptr);
}

} /* namespace zem */
