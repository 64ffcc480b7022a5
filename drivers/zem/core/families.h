/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The metric families in the order in which a cycle runs them, as a table. Cycles may run
 * concurrently in several tasks, each with its own counters. Context: process; may sleep.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"

namespace zem {

/* Seconds between two cycles of the collector thread. */
inline constexpr u32 kSecondsPerCycle = 5;

/* The unit of a family's interval. */
enum class IntervalUnit : u32 {
	kCycles = 1,
	kSeconds = kSecondsPerCycle,
};

enum class Trigger {
	kWhenDue, /* when the trigger's own counter reaches the interval */
	kAlways, /* at each trigger, regardless of the interval */
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

/* Call before any other function of this file. */
void families_init();

/* Takes every family's first baseline. */
void prime_families();

/* A runner of cycles. Holds the number of cycles that each family has waited. */
class CycleCounters {
public:
	constexpr CycleCounters() = default;

	/* Runs the families whose intervals have expired. */
	void run_periodic();

	/* Runs one cycle on demand. */
	void run_triggered();

private:
	[[nodiscard]] bool due(size_t family);

	Relaxed<u32> waited_[kFamilies];
};

} /* namespace zem */
