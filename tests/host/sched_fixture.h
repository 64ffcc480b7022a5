/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Tests of the scheduler's hooks: tasks of every standing, the hooks by metric, and access to the
 * module's counters.
 */
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/providers.h"
#include "host/units.h"
#include "kernel/api/percpu.h"
#include "platform/contract.h"

namespace test {

/* In the order of a row of a CPU's histogram. */
enum class Metric : size_t { kIrqtime, kRuntime, kRundelay, kDState };

/* The module's counters of one CPU. The platform counts the time of interrupts. */
struct CpuCounters {
	u64 hist[10][4];
	u64 runtime_sum;
	u64 rundelay_sum;
	u64 d_state_sum;

	bool operator==(const CpuCounters &) const = default;

	/* Null for the interrupts. */
	[[nodiscard]] u64 *sum_of(Metric metric);
};

static_assert(sizeof(CpuCounters) == 344);

/* One metric's part of a task's counters. */
struct TaskCounters {
	__u32 (&buckets)[4];
	__u64 &total;

	[[nodiscard]] static TaskCounters of(zem_svp_stats &stats, Metric metric);
};

enum Standing {
	kNotSvp,
	kSvpOnly, /* important now, but not by its own standing */
	kSvpWithStats, /* important by both predicates, with counters */
};

class SchedTest : public CollectorTest {
protected:
	using CollectorTest::CollectorTest;

	[[nodiscard]] sim::Task *make_task(int pid, Standing standing);
	/* Sets the results of the two predicates. */
	static void set_svp(sim::Task *task, int svp, int orig_svp);
	/* The task's counters, which it must have. */
	[[nodiscard]] static zem_svp_stats &stats(const sim::Task *task);

	/* Raises the metric's hook on the test's CPU. */
	void raise(Metric metric, task_struct *task, u64 ns);

	[[nodiscard]] CpuCounters &counters(unsigned int cpu);
	[[nodiscard]] u64 &time(unsigned int cpu, Metric metric);
	[[nodiscard]] std::vector<unsigned int> possible_cpus() const;

	/* @path is relative to /proc. */
	[[nodiscard]] std::string read_proc(const std::string &path);
	ssize_t write_proc(const std::string &path, std::string_view text);
};

} /* namespace test */
