/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The metric families, each a row of a table. Start-up, shut-down, cycles and triggers run the rows
 * in the order of the table. Cycles may run concurrently in several tasks, each with its own
 * counters. Context: process; may sleep.
 */
#pragma once

#include "core/settings.h"
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

/* A null function has nothing to do. A family that is never due has no upload(). */
struct Family {
	Interval interval = Interval::kNever;
	IntervalUnit unit = IntervalUnit::kCycles;
	Trigger trigger = Trigger::kWhenDue;
	const char *failure = nullptr; /* the message if init() fails */
	int (*init)() = nullptr; /* Return: 0 or a negative error code */
	void (*attach_restricted)() = nullptr; /* attaches probes that nothing can detach */
	void (*abandon)() = nullptr; /* after a failed start-up, even before init() */
	void (*destroy)() = nullptr;
	void (*prime)() = nullptr; /* takes the first baseline and uploads nothing */
	void (*upload)() = nullptr;
	void (*at_trigger)() = nullptr; /* at each trigger, even if trace_on is 0 */
};

inline constexpr size_t kFamilies = 9;
/* Defined in the directory above, which includes the families. */
extern const Family families[kFamilies];

/*
 * If a family fails, the hooks and proc files of the earlier ones stay.
 * Return: null, or the message of the family that failed.
 */
[[nodiscard]] const char *families_init();

/* Must be called when start-up cannot fail any more. */
void families_attach_restricted();

/* For a failed start-up, also before families_init(). */
void families_abandon();

void families_destroy();

/* Takes every family's first baseline. */
void families_prime();

/* Call at each trigger, before its cycle. */
void families_at_trigger();

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
