// SPDX-License-Identifier: GPL-2.0
#include "sched/family.h"

#include "linux/zem.h"
#include "sched/sched_metrics.h"
#include "sched/sched_metrics_proc.h"
#include "sched/sched_metrics_upload.h"
#include "sched/svp_collection.h"
#include "sched/svp_enrolment.h"
#include "sched/svp_metrics_proc.h"

namespace zem {

int sched_metrics_init()
{
	sched_metrics_upload_init();
	sched_metrics_attach();
	return proc_sched_metrics_init();
}

void sched_metrics_destroy()
{
	proc_sched_metrics_destroy();
}

void sched_upload()
{
	sched_metrics_info_upload(sched_zem_set);
}

void sched_prime()
{
	sched_metrics_info_upload(nullptr);
}

int svp_metrics_init()
{
	svp_collection_init();
	svp_enrolment_attach();
	return proc_svp_metrics_init();
}

/* Releases the enrolled tasks after the last handler: their references would outlive the list. */
void svp_metrics_destroy()
{
	proc_svp_metrics_destroy();
	svp_enrolment_detach();
	svp_metrics_info_iter(nullptr);
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
