/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Waits of tasks for a CPU, and uninterruptible sleep for IO and for other reasons: sums for each
 * CPU, of all tasks, of groups of the cpu controller, and of SVP tasks.
 */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* In ns, in the order of a triple. */
enum class Delay : size_t {
	kLatency,
	kDStateIo,
	kDStateOther,
};

inline constexpr size_t kDelays = 3;

/* The order of the triples. */
enum class HealthRow : size_t {
	kTotal,
	kRoot,
	kForeground,
	kTopApp,
	kBackground,
	kSystemBackground,
	kSvp,
};

inline constexpr size_t kHealthRows = 7;

using HealthTriple = u64[kDelays];
using HealthSums = HealthTriple[kHealthRows];

static_assert(sizeof(HealthSums) == 168);

/* Return: 1 while the probes record, else 0. Context: any. */
[[nodiscard]] u32 sched_healthinfo_enabled();

/* The probes record afterwards. Context: may sleep. */
void sched_healthinfo_init();
void sched_healthinfo_exit();

/* Restarts all sums from 0. Context: may sleep. */
void sched_healthinfo_restart();

/* The probes stop recording, and the sums stay. */
void sched_healthinfo_stop();

void sched_healthinfo_sum(HealthTriple &a, const HealthTriple &b);

/* Adds one CPU's sums to @out. Context: may sleep. */
void add_sched_healthinfo(unsigned int cpu, HealthSums &out);

/*
 * Adds the sums of all CPUs to @out. Context: may sleep.
 * Return: 1; 0 if @out is null or an error value.
 */
int get_sched_healthinfo(HealthSums *out);

} /* namespace zem */
