/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Settings of user space in /sys/zem: plain values without a lock. The files' store functions write
 * them; producers in any context and the collector read them.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"

namespace zem {

/* The master switch, 1 or 0. Nothing is recorded while it is 0. */
extern Relaxed<int> trace_on;

/* How the text of a file holds its number. User space relies on which file accepts which text. */
enum class NumberText {
	kLeading, /* text after the number is ignored */
	kWhole, /* at most one newline follows the number */
};

/*
 * The intervals, each a file of its name: X(name, value after load, form of the text). The unit is
 * a collector cycle (5 s) between two runs of a family; 0 switches the family off.
 * display_interval is in seconds, rounded up to a cycle. kgsl_interval is stored and shown for the
 * graphics driver's tools; the module does not use it.
 */
#define ZEM_INTERVALS(X)                  \
	X(kmemind_interval, 1, kLeading)  \
	X(kioind_interval, 1, kLeading)   \
	X(sched_interval, 1, kLeading)    \
	X(svp_interval, 1, kWhole)        \
	X(load_interval, 1, kWhole)       \
	X(cgroup_interval, 0, kWhole)     \
	X(display_interval, 10, kLeading) \
	X(kgsl_interval, 1, kLeading)

/* The largest value of each. */
inline constexpr int kLongestInterval = 10000;

#define ZEM_INTERVAL_ENUMERATOR(name, after_load, form) name,
enum class Interval : size_t {
	kNever, /* always 0, without a file */
	ZEM_INTERVALS(ZEM_INTERVAL_ENUMERATOR)
};
#undef ZEM_INTERVAL_ENUMERATOR

[[nodiscard]] int interval_of(Interval interval);
void set_interval(Interval interval, int value);

} /* namespace zem */
