/* SPDX-License-Identifier: GPL-2.0 */
/* What the collector, the trigger and the readers of /proc/load_metrics sample by turns. */
#pragma once

#include "kernel/guarded.h"
#include "load/window.h"
#include "uapi/linux/zem.h"

namespace zem {

/* The last sample of each CPU. */
struct CpuSamples {
	zem_cpu cpu_metrics_unit[ZEM_LOAD_CPUS];
	u64 cpu_start_time[ZEM_LOAD_CPUS]; /* the activity counter's time base */
};

struct LoadSamples {
	Window window;
	CpuSamples cpus;
	/*
	 * The last task's record. It is never cleared: a task that has exited has the flag and the
	 * package of the task before it.
	 */
	zem_load load_metrics_unit;
};

/* Context: process. */
extern Guarded<LoadSamples, SpinLock> load_samples;

/* Call before any other use; opens the first window. */
void load_samples_init();

} /* namespace zem */
