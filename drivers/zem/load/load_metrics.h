/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The capacity that each CPU and each process uses. Uploads share the sampling window and the
 * tasks' accumulators with /proc/load_metrics, and run in process context.
 */
#pragma once

#include "core/common/setter.h"
#include "kernel/function_ref.h"
#include "kernel/static_key.h"
#include "load/load_samples.h"
#include "uapi/linux/zem.h"

struct task_struct;

namespace zem {

/* Gates the accounting of run time; on at load. */
extern StaticKey<true> load_metrics_enable;
/* Gates only the uploads: the values are still computed and consumed. */
extern StaticKey<false> load_metrics_report;
/* Samples every thread instead of every process. */
extern StaticKey<false> thread_metrics_enable;

/* Accounting works without the files. Return: 0 or -ENOMEM. Context: may sleep. */
[[nodiscard]] int load_metrics_init();
void load_metrics_destroy();

/* Closes the window, and uploads a record for each CPU through @set, which may be null. */
void cpu_metrics_info_upload(Setter set);

/*
 * Uploads a record for each active task through @set, which may be null, for the window that
 * cpu_metrics_info_upload() closed.
 */
void load_metrics_info_upload(Setter set);

/* cpu_load.cc. Samples the CPUs in ascending order, once for each window. */
void sample_cpus(CpuSamples &samples, FunctionRef<void(const zem_cpu &unit)> emit);

/*
 * task_load.cc. Samples a task, which may be null, and consumes its values. If a value is not 0,
 * passes the record to @emit, which may be null and must not sleep. The usage is the average over
 * @window ns: each walk keeps its own window, because others may close windows meanwhile. Locking:
 * caller holds rcu_read_lock().
 */
void get_task_load_metrics(task_struct *task, u64 window,
			   FunctionRef<void(const zem_load &unit)> emit);

/* load_metrics_proc.cc. Return: 0 or -ENOMEM. Context: may sleep. */
[[nodiscard]] int proc_load_metrics_init();
void proc_load_metrics_destroy();

} /* namespace zem */
