// SPDX-License-Identifier: GPL-2.0
/* Accounts the run time of each thread to its process, scaled by the thread's cluster. */
#include "load/load_metrics.h"

#include "kernel/atomic.h"
#include "kernel/task.h"
#include "load/clusters.h"
#include "platform/task_record.h"

namespace zem {

constinit StaticKey<true> load_metrics_enable;
constinit StaticKey<false> load_metrics_report;
constinit StaticKey<false> thread_metrics_enable;

namespace {

/* Word of a load block: capacity units times ns since the last sample. */
constexpr size_t kAccumulator = 1;

/*
 * A task has run @delta cycles. The run-queue lock held here is an RCU read section, which keeps
 * the leader. Context: run-queue lock held, on any CPU.
 */
void load_stat_proc_runtime(task_struct *task, u32 cluster, u64 delta)
{
	if (!load_metrics_enable.is_on() || task_has_exited(task))
		return;
	task_ext *leader = record_of(task_group_leader(task));
	if (!leader)
		return;
	const u64 scale = cluster_scale(cluster);
	if (u64 *block = smp_load_acquire(leader->load_block))
		atomic_add(scale * delta, block[kAccumulator]);
}

} /* namespace */

void load_metrics_attach()
{
	register_load_stat_proc_runtime(load_stat_proc_runtime);
}

void load_metrics_detach()
{
	unregister_load_stat_proc_runtime();
}

} /* namespace zem */
