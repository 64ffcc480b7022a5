/* SPDX-License-Identifier: GPL-2.0 */
/*
 * How much of the machine's capacity each CPU and each process uses. Uploads run in process
 * context, and share the sampling window and the tasks' accumulators with /proc/load_metrics.
 */
#pragma once

#include "core/records.h"
#include "kernel/static_key.h"
#include "uapi/linux/zem.h"

struct task_struct;

namespace zem {

/* Gates the accounting of run time; on at load. */
extern StaticKey<true> load_metrics_enable;
/* Gates the uploads alone: what they would report is computed, and consumed, all the same. */
extern StaticKey<false> load_metrics_report;
/* Samples every thread instead of every process. */
extern StaticKey<false> thread_metrics_enable;

/* May sleep. Return: 0, or -ENOMEM without the files; the accounting goes on either way. */
[[nodiscard]] int load_metrics_init();
void load_metrics_destroy();

/* Closes the window and uploads a record for each CPU through @set, which may be null. */
void cpu_metrics_info_upload(Setter set);

/*
 * Uploads a record for each task that did something, through @set, which may be null, in the window
 * that cpu_metrics_info_upload() closed.
 */
void load_metrics_info_upload(Setter set);

/* cpu_load.cc. Under load_lock: samples the CPUs in ascending order, once for each window. */
void sample_cpus(void (*visit)(const zem_cpu &unit, void *context), void *context);

/* task_load.cc. Who gets a task's record, valid during the call, in which it may not sleep. */
struct LoadVisitor {
	void (*visit)(const zem_load &unit, void *context);
	void *context;
};

/*
 * Samples a task, which may be null, and consumes its figures. If there are any, @visitor, which
 * may be null, gets the task's record. The usage is the average over @window ns: each walk keeps
 * its own, as others may close windows meanwhile.
 * Context: RCU reader.
 */
void get_task_load_metrics(task_struct *task, u64 window, const LoadVisitor *visitor);

/* load_metrics_proc.cc. May sleep. Return: 0 or -ENOMEM. */
[[nodiscard]] int proc_load_metrics_init();
void proc_load_metrics_destroy();

} /* namespace zem */
