/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Settings of user space in /sys/zem: plain values without a lock. The files' store functions write
 * them; producers in any context and the collector read them.
 */
#pragma once

#include "kernel/relaxed.h"

namespace zem {

/* The master switch, 1 or 0. Nothing is recorded while it is 0. */
extern Relaxed<int> trace_on;

/* Number of collector cycles (5 s) between two runs of a family; 0 switches the family off. */
extern Relaxed<int> kmemind_interval;
extern Relaxed<int> kioind_interval;
extern Relaxed<int> sched_interval;
extern Relaxed<int> svp_interval;
extern Relaxed<int> load_interval;
extern Relaxed<int> cgroup_interval;

/* Seconds, rounded up to a cycle; 0 switches the family off. */
extern Relaxed<int> display_interval;

/* Stored and shown for the graphics driver's tools; the module does not use it. */
extern Relaxed<int> kgsl_interval;

} /* namespace zem */
