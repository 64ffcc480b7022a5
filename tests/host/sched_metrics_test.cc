// SPDX-License-Identifier: GPL-2.0
/* The scheduler's hooks: buckets, tasks and CPUs of their counts, and events that do not count. */
#include <cstring>

#include "host/sched_fixture.h"

namespace test {

namespace {

/* Bounds of a histogram, and of the same hook's counters of a task. */
struct Bounds {
	Metric metric;
	u64 cpu[9];
	u64 task[3];
};

constexpr Bounds kIrqtimeBounds = {Metric::kIrqtime,
				   {100 * kUs, 200 * kUs, 300 * kUs, 500 * kUs, 1 * kMs, 2 * kMs,
				    4 * kMs, 6 * kMs, 8 * kMs},
				   {}};
constexpr Bounds kSvpBounds[] = {
	{Metric::kRuntime,
	 {2 * kMs, 5 * kMs, 8 * kMs, 11 * kMs, 15 * kMs, 18 * kMs, 22 * kMs, 27 * kMs, 32 * kMs},
	 {5 * kMs, 15 * kMs, 30 * kMs}},
	{Metric::kRundelay,
	 {500 * kUs, 1 * kMs, 2 * kMs, 3 * kMs, 5 * kMs, 7 * kMs, 10 * kMs, 15 * kMs, 20 * kMs},
	 {2 * kMs, 10 * kMs, 20 * kMs}},
	{Metric::kDState,
	 {2 * kMs, 3 * kMs, 7 * kMs, 12 * kMs, 18 * kMs, 27 * kMs, 44 * kMs, 100 * kMs, 200 * kMs},
	 {3 * kMs, 10 * kMs, 30 * kMs}},
};

constexpr u64 kLargest = 1ULL << 62; /* the sum of two still fits */

} /* namespace */

class SchedMetrics : public SchedTest {
protected:
	/* Raises the metric's hook, and expects it only in @bucket of this CPU. */
	void expect_in_bucket(Metric metric, sim::Task *task, u64 ns, size_t bucket)
	{
		SCOPED_TRACE(std::to_string(ns) + " ns of metric " +
			     std::to_string(static_cast<int>(metric)));
		CpuCounters expected = counters(0);
		expected.hist[bucket][static_cast<size_t>(metric)]++;
		if (u64 *sum = expected.sum_of(metric))
			*sum += ns;
		raise(metric, task, ns);
		EXPECT_EQ(counters(0), expected);
	}

	void expect_in_task_bucket(Metric metric, sim::Task *task, u64 ns, size_t bucket)
	{
		SCOPED_TRACE(std::to_string(ns) + " ns of metric " +
			     std::to_string(static_cast<int>(metric)));
		zem_svp_stats expected = stats(task);
		TaskCounters::of(expected, metric).buckets[bucket]++;
		TaskCounters::of(expected, metric).total += ns;
		raise(metric, task, ns);
		EXPECT_EQ(memcmp(&stats(task), &expected, sizeof(expected)), 0);
	}

	/* Raises every hook of a task once, with 4 ms. */
	void raise_all(sim::Task *task)
	{
		for (const Bounds &bounds : kSvpBounds)
			raise(bounds.metric, task, 4 * kMs);
	}

	/* The counts of raise_all() on a CPU. */
	[[nodiscard]] static CpuCounters all_of_them()
	{
		CpuCounters expected{};
		expected.hist[1][static_cast<size_t>(Metric::kRuntime)] = 1;
		expected.hist[4][static_cast<size_t>(Metric::kRundelay)] = 1;
		expected.hist[2][static_cast<size_t>(Metric::kDState)] = 1;
		expected.runtime_sum = expected.rundelay_sum = expected.d_state_sum = 4 * kMs;
		return expected;
	}

	void expect_no_task_counters(sim::Task *task)
	{
		static constexpr zem_svp_stats kNone{};
		EXPECT_EQ(memcmp(&stats(task), &kNone, sizeof(kNone)), 0);
	}
};

TEST_F(SchedMetrics, every_bound_of_irqtime_belongs_to_the_upper_bucket)
{
	for (size_t i = 0; i < 9; i++) {
		expect_in_bucket(Metric::kIrqtime, nullptr, kIrqtimeBounds.cpu[i] - 1, i);
		expect_in_bucket(Metric::kIrqtime, nullptr, kIrqtimeBounds.cpu[i], i + 1);
		expect_in_bucket(Metric::kIrqtime, nullptr, kIrqtimeBounds.cpu[i] + 1, i + 1);
	}
	expect_in_bucket(Metric::kIrqtime, nullptr, 0, 0);
	expect_in_bucket(Metric::kIrqtime, nullptr, UINT64_MAX, 9);
}

TEST_F(SchedMetrics, every_bound_of_an_svp_histogram_belongs_to_the_upper_bucket)
{
	sim::Task *task = make_task(100, kSvpOnly);
	for (const Bounds &bounds : kSvpBounds) {
		for (size_t i = 0; i < 9; i++) {
			expect_in_bucket(bounds.metric, task, bounds.cpu[i] - 1, i);
			expect_in_bucket(bounds.metric, task, bounds.cpu[i], i + 1);
			expect_in_bucket(bounds.metric, task, bounds.cpu[i] + 1, i + 1);
		}
		expect_in_bucket(bounds.metric, task, 1, 0);
		expect_in_bucket(bounds.metric, task, kLargest, 9);
	}
}

TEST_F(SchedMetrics, every_bound_of_a_task_s_counters_belongs_to_the_upper_bucket)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	for (const Bounds &bounds : kSvpBounds) {
		for (size_t i = 0; i < 3; i++) {
			expect_in_task_bucket(bounds.metric, task, bounds.task[i] - 1, i);
			expect_in_task_bucket(bounds.metric, task, bounds.task[i], i + 1);
			expect_in_task_bucket(bounds.metric, task, bounds.task[i] + 1, i + 1);
		}
		expect_in_task_bucket(bounds.metric, task, 1, 0);
		expect_in_task_bucket(bounds.metric, task, kLargest, 3);
	}
}

TEST_F(SchedMetrics, runtime_and_d_state_of_0_count)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	expect_in_bucket(Metric::kRuntime, task, 0, 0);
	expect_in_bucket(Metric::kDState, task, 0, 0);
	expect_in_task_bucket(Metric::kRuntime, task, 0, 0);
	expect_in_task_bucket(Metric::kDState, task, 0, 0);
}

TEST_F(SchedMetrics, run_delay_of_zero_without_pending_is_not_counted)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	raise(Metric::kRundelay, task, 0);
	EXPECT_EQ(counters(0), CpuCounters{});
	expect_no_task_counters(task);
}

TEST_F(SchedMetrics, run_delay_is_the_third_argument_of_the_hook)
{
	sim::Task *task = make_task(100, kSvpOnly);
	kernel.hooks.sched_info_arrive(task, 3 * kMs, 19 * kMs);
	CpuCounters expected{};
	expected.hist[4][static_cast<size_t>(Metric::kRundelay)] = 1;
	expected.rundelay_sum = 3 * kMs;
	EXPECT_EQ(counters(0), expected);
}

TEST_F(SchedMetrics, pending_delays_add_to_the_next_arrival_alone)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	kernel.hooks.sched_info_dequeued(task, 6 * kMs);
	kernel.hooks.sched_info_dequeued(task, 3 * kMs);
	EXPECT_EQ(task->record.pending_run_delay, 9 * kMs);
	EXPECT_EQ(counters(0), CpuCounters{});

	kernel.hooks.sched_info_arrive(task, 1 * kMs);
	EXPECT_EQ(task->record.pending_run_delay, 0U);
	EXPECT_EQ(stats(task).run_delay_total, 10 * kMs);
	EXPECT_EQ(stats(task).run_delay[2], 1U);
	CpuCounters expected{};
	expected.hist[7][static_cast<size_t>(Metric::kRundelay)] = 1;
	expected.rundelay_sum = 10 * kMs;
	EXPECT_EQ(counters(0), expected);

	kernel.hooks.sched_info_arrive(task, 1 * kMs);
	expected.hist[2][static_cast<size_t>(Metric::kRundelay)]++;
	expected.rundelay_sum += 1 * kMs;
	EXPECT_EQ(counters(0), expected);
}

TEST_F(SchedMetrics, pending_delay_counts_without_a_delay_of_the_arrival)
{
	sim::Task *task = make_task(100, kSvpOnly);
	kernel.hooks.sched_info_dequeued(task, 2 * kMs);
	kernel.hooks.sched_info_arrive(task, 0);
	EXPECT_EQ(counters(0).rundelay_sum, 2 * kMs);
	EXPECT_EQ(counters(0).hist[3][static_cast<size_t>(Metric::kRundelay)], 1U);
}

TEST_F(SchedMetrics, pending_delay_is_added_and_cleared_for_a_task_that_is_not_svp)
{
	sim::Task *task = make_task(100, kNotSvp);
	kernel.hooks.sched_info_dequeued(task, 2 * kMs);
	EXPECT_EQ(task->record.pending_run_delay, 2 * kMs);
	kernel.hooks.sched_info_arrive(task, 1 * kMs);
	EXPECT_EQ(task->record.pending_run_delay, 0U);
	set_svp(task, 1, 1);
	kernel.hooks.sched_info_arrive(task, 0);
	EXPECT_EQ(counters(0), CpuCounters{});
}

TEST_F(SchedMetrics, key_off_counts_nothing_but_pending_delays)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	EXPECT_EQ(write_proc("sched_metrics/sched_metrics_enabled", "0"), 1);
	raise_all(task);
	raise(Metric::kIrqtime, nullptr, 1 * kMs);
	kernel.hooks.sched_info_dequeued(task, 5 * kMs);
	kernel.hooks.sched_info_arrive(task, 1 * kMs);
	EXPECT_EQ(counters(0), CpuCounters{});
	expect_no_task_counters(task);
	EXPECT_EQ(task->record.pending_run_delay, 5 * kMs);

	EXPECT_EQ(write_proc("sched_metrics/sched_metrics_enabled", "1"), 1);
	kernel.hooks.sched_info_arrive(task, 1 * kMs);
	EXPECT_EQ(counters(0).rundelay_sum, 6 * kMs);
	EXPECT_EQ(task->record.pending_run_delay, 0U);
}

TEST_F(SchedMetrics, key_of_the_tasks_records_does_not_gate_their_counters)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	EXPECT_EQ(write_proc("svp_metrics/svp_metrics_enabled", "0"), 1);
	raise_all(task);
	EXPECT_EQ(counters(0), all_of_them());
	EXPECT_EQ(stats(task).runtime_total, 4 * kMs);
}

TEST_F(SchedMetrics, task_that_is_svp_now_counts_on_the_cpu_and_not_by_itself)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	set_svp(task, 1, 0);
	raise_all(task);
	EXPECT_EQ(counters(0), all_of_them());
	expect_no_task_counters(task);
}

TEST_F(SchedMetrics, task_that_is_svp_by_its_own_standing_alone_counts_nowhere)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	set_svp(task, 0, 1);
	raise_all(task);
	EXPECT_EQ(counters(0), CpuCounters{});
	expect_no_task_counters(task);
}

TEST_F(SchedMetrics, predicates_are_true_in_bit_0)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	set_svp(task, 2, 1);
	raise_all(task);
	EXPECT_EQ(counters(0), CpuCounters{});

	set_svp(task, 3, 6);
	raise_all(task);
	EXPECT_EQ(counters(0), all_of_them());
	expect_no_task_counters(task);

	set_svp(task, -1, 5);
	raise_all(task);
	EXPECT_EQ(stats(task).runtime_total, 4 * kMs);
	EXPECT_EQ(stats(task).run_delay_total, 4 * kMs);
	EXPECT_EQ(stats(task).d_state_duration_total, 4 * kMs);
}

TEST_F(SchedMetrics, each_hook_counts_in_its_own_part_of_the_task_s_counters)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	raise(Metric::kRuntime, task, 6 * kMs);
	raise(Metric::kRundelay, task, 21 * kMs);
	raise(Metric::kDState, task, 2 * kMs);
	zem_svp_stats expected{};
	expected.runtime[1] = expected.run_delay[3] = expected.d_state_duration[0] = 1;
	expected.runtime_total = 6 * kMs;
	expected.run_delay_total = 21 * kMs;
	expected.d_state_duration_total = 2 * kMs;
	EXPECT_EQ(memcmp(&stats(task), &expected, sizeof(expected)), 0);
}

TEST_F(SchedMetrics, task_without_counters_of_its_own_counts_on_the_cpu)
{
	sim::Task *task = make_task(100, kSvpOnly);
	raise_all(task);
	EXPECT_EQ(counters(0), all_of_them());
	EXPECT_EQ(task->record.svp_stats, nullptr);
}

class SchedMetricsNoRecord : public SchedMetrics {
protected:
	/* A run delay needs a record; the other metrics count on the CPU without one. */
	void expect_no_run_delay(sim::Task *task)
	{
		kernel.hooks.sched_info_dequeued(task, 4 * kMs);
		raise_all(task);
		CpuCounters expected = all_of_them();
		expected.hist[4][static_cast<size_t>(Metric::kRundelay)] = 0;
		expected.rundelay_sum = 0;
		EXPECT_EQ(counters(0), expected);
	}
};

TEST_F(SchedMetricsNoRecord, task_without_a_record_counts_no_run_delay)
{
	sim::Task *task = make_task(100, kSvpOnly);
	sim::Platform::set_record(*task, nullptr);
	expect_no_run_delay(task);
}

TEST_F(SchedMetricsNoRecord, error_value_is_no_record)
{
	for (const long error : {-1L, -22L, -4095L}) {
		const CpuCounters before = counters(0);
		sim::Task *task = make_task(static_cast<int>(100 - error), kSvpOnly);
		sim::Platform::set_record(*task, reinterpret_cast<task_ext *>(error));
		raise_all(task);
		kernel.hooks.sched_info_dequeued(task, 1);
		EXPECT_EQ(counters(0).rundelay_sum, 0U);
		EXPECT_EQ(counters(0).runtime_sum, before.runtime_sum + 4 * kMs);
	}
}

TEST_F(SchedMetricsNoRecord, task_with_pid_0_has_no_record)
{
	sim::Task *task = make_task(0, kSvpWithStats);
	expect_no_run_delay(task);
	EXPECT_EQ(task->record.pending_run_delay, 0U);
	EXPECT_EQ(task->record.svp_stats, nullptr);
}

TEST_F(SchedMetricsNoRecord, no_task_counts_no_run_delay)
{
	kernel.hooks.sched_info_dequeued(nullptr, 4 * kMs);
	kernel.hooks.sched_info_arrive(nullptr, 4 * kMs);
	EXPECT_EQ(counters(0), CpuCounters{});
}

TEST_F(SchedMetrics, each_cpu_counts_for_itself)
{
	sim::Task *task = make_task(100, kSvpWithStats);
	for (unsigned int cpu = 0; cpu < 8; cpu++) {
		kernel.move_to_cpu(cpu);
		for (unsigned int i = 0; i <= cpu; i++)
			raise(Metric::kIrqtime, nullptr, 250 * kUs);
		raise(Metric::kRuntime, task, cpu);
	}
	for (unsigned int cpu = 0; cpu < 8; cpu++) {
		CpuCounters expected{};
		expected.hist[2][static_cast<size_t>(Metric::kIrqtime)] = cpu + 1;
		expected.hist[0][static_cast<size_t>(Metric::kRuntime)] = 1;
		expected.runtime_sum = cpu;
		EXPECT_EQ(counters(cpu), expected) << "cpu " << cpu;
	}
	kernel.move_to_cpu(0);
	EXPECT_EQ(stats(task).runtime[0], 8U);
	EXPECT_EQ(stats(task).runtime_total, 28U);
}

TEST_F(SchedMetrics, pending_delay_of_one_cpu_is_counted_on_the_next)
{
	sim::Task *task = make_task(100, kSvpOnly);
	kernel.move_to_cpu(1);
	kernel.hooks.sched_info_dequeued(task, 2 * kMs);
	kernel.move_to_cpu(2);
	kernel.hooks.sched_info_arrive(task, 2 * kMs);
	kernel.move_to_cpu(0);
	EXPECT_EQ(counters(1), CpuCounters{});
	EXPECT_EQ(counters(2).rundelay_sum, 4 * kMs);
}

TEST_F(SchedMetrics, interrupt_time_itself_is_not_ours)
{
	raise(Metric::kIrqtime, nullptr, 3 * kMs);
	EXPECT_EQ(time(0, Metric::kIrqtime), 0U);
}

TEST_F(SchedMetrics, counting_goes_on_while_trace_on_is_0)
{
	sim::Task *task = make_task(100, kSvpOnly);
	store("trace_on", "0");
	raise_all(task);
	EXPECT_EQ(counters(0), all_of_them());
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

} /* namespace test */
