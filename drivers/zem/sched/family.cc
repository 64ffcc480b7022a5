// SPDX-License-Identifier: GPL-2.0
#include "sched/family.h"

#include "linux/zem.h"
#include "sched/sched_metrics.h"
#include "sched/svp_metrics.h"

namespace zem {

void sched_upload()
{
	sched_metrics_info_upload(sched_zem_set);
}

void sched_prime()
{
	sched_metrics_info_upload(nullptr);
}

void svp_upload()
{
	svp_metrics_info_upload(svp_zem_set);
}

void svp_prime()
{
	svp_metrics_info_upload(nullptr);
}

} /* namespace zem */
