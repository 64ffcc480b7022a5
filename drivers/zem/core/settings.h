/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What user space sets through /sys/zem. Plain values without a lock: written by the files'
 * store functions, read by producers in any context and by the collector at each cycle.
 */
#pragma once

#include "kernel/relaxed.h"

namespace zem {

/* The master switch, 1 or 0: while it is 0 nothing is recorded. */
extern Relaxed<int> trace_on;

/* Collector cycles (5 s) between two runs of a family; 0 switches the family off. */
extern Relaxed<int> kmemind_interval;
extern Relaxed<int> kioind_interval;
extern Relaxed<int> sched_interval;
extern Relaxed<int> svp_interval;
extern Relaxed<int> load_interval;
extern Relaxed<int> cgroup_interval;

/* Seconds, in steps of a cycle; 0 switches the family off. */
extern Relaxed<int> display_interval;

/* Stored and shown for the graphics driver's tools; nothing here reads it. */
extern Relaxed<int> kgsl_interval;

} /* namespace zem */
