/* SPDX-License-Identifier: GPL-2.0 */
/* Samples that the collector, the trigger and the readers of /proc/load_metrics share. */
#pragma once

#include "kernel/guarded.h"
#include "load/window.h"
#include "uapi/linux/zem.h"

namespace zem {

/* The last sample of each CPU. */
struct CpuSamples {
	zem_cpu cpu_metrics_unit[ZEM_LOAD_CPUS];
	u64 cpu_start_time[ZEM_LOAD_CPUS]; /* time base of the activity counters */
};

struct LoadSamples {
	Window window;
	CpuSamples cpus;
	/*
	 * The record of the last task. It is never cleared: a task that has exited gets the flag
	 * and package of the task before it.
	 */
	zem_load load_metrics_unit;
};

/* Context: process. */
extern Guarded<LoadSamples, SpinLock> load_samples;

/* Opens the first window. Call before any other use. */
void load_samples_init();

} /* namespace zem */
