/* SPDX-License-Identifier: GPL-2.0 */
/*
 * How long tasks waited for a CPU, and slept uninterruptibly for IO or else: sums per CPU, of all
 * tasks, by group of the cpu controller, and of SVP tasks.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"

namespace zem {

/* ns; in the order in which they stand in a triple. */
enum class Delay : size_t {
	kLatency,
	kDStateIo,
	kDStateOther,
};

inline constexpr size_t kDelays = 3;

/* The triples in their order. */
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

/* 1 while the probes record. */
extern Relaxed<u32> sched_healthinfo_enable;

/* May sleep. Return: 0, or -ENOENT without the files; the probes record either way. */
int sched_healthinfo_init();
void sched_healthinfo_exit();

/* Starts all sums from zero. */
void sched_healthinfo_restart();

/* Adds @b to @a. */
void sched_healthinfo_sum(HealthTriple &a, const HealthTriple &b);

/* Adds one CPU's sums to @out; a triple is never seen half made. Process context. */
void add_sched_healthinfo(unsigned int cpu, HealthSums &out);

/*
 * Adds the sums of all CPUs to @out. Process context.
 * Return: 1; 0 when @out is null or an error value.
 */
int get_sched_healthinfo(HealthSums *out);

/* sched_healthinfo_proc.cc. May sleep. Return: 0, or -ENOENT with no file left. */
[[nodiscard]] int sched_healthinfo_procfs_init();
void sched_healthinfo_procfs_exit();

} /* namespace zem */
