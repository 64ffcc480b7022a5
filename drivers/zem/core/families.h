/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The metric families that a collection cycle runs, in order, as rows of one table. Process
 * context; may sleep. Cycles may run at once in several tasks: each has counters of its own.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"

namespace zem {

/* Seconds between two cycles of the collector thread, the unit of the display interval. */
inline constexpr u32 kSecondsPerCycle = 5;

/* How a family's counter is compared with its interval. */
enum class IntervalUnit : u32 {
	kCycles = 1,
	kSeconds = kSecondsPerCycle,
};

enum class Trigger {
	kWhenDue, /* by the trigger's own counter */
	kAlways, /* at each write, whatever the interval */
};

struct Family {
	const Relaxed<int> &interval;
	IntervalUnit unit;
	Trigger trigger;
	void (*upload)();
	void (*prime)(); /* takes the first baseline and uploads nothing; null: none needed */
};

inline constexpr size_t kFamilies = 8;
extern const Family families[kFamilies];

/* Before anything else of this file. */
void families_init();

/* Takes every family's first baseline. */
void prime_families();

/* Who runs a cycle, with the number of cycles that each family has waited. */
class CycleCounters {
public:
	constexpr CycleCounters() = default;

	/* One cycle at the pace of the intervals alone. */
	void run_periodic();

	/* One cycle on demand. */
	void run_triggered();

private:
	[[nodiscard]] bool due(size_t family);

	Relaxed<u32> waited_[kFamilies];
};

} /* namespace zem */
