// SPDX-License-Identifier: GPL-2.0
/* The sample of one task: the arithmetic, what it consumes, and each byte of its record. */
#include "host/load_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class TaskLoad : public LoadTest {
protected:
	void SetUp() override
	{
		LoadTest::SetUp();
		EXPECT_THAT(loads(), IsEmpty());
	}

	/* Returns the next record, of the only task with a load. */
	[[nodiscard]] zem_load only_load(u64 ns = 1 * kMs)
	{
		const std::vector<zem_load> found = loads(ns);
		EXPECT_THAT(found, SizeIs(1));
		return found.empty() ? zem_load{} : found[0];
	}

	/* Returns word 2 after both counters of a cluster have grown. */
	[[nodiscard]] u64 combined(sim::Task &task, size_t cluster, u64 numerator, u64 denominator)
	{
		task.record.counter_a[cluster] += numerator;
		task.record.counter_d[cluster] += denominator;
		word(task, kAccumulator) = 100 * kMs;
		return only_load().combined;
	}
};

TEST_F(TaskLoad, record_has_every_field_at_its_place)
{
	sim::Task &leader = make_task(0x11121314, "leader");
	sim::Task &task = make_thread(leader, 0x21222324, "worker");
	set_switch("thread_metrics_enabled", true);
	leader.record.flags = 1U << 4;
	sim::Platform::set_package(leader, "com.example");
	for (size_t i = 0; i < PLATFORM_LOAD_WORDS; i++)
		word(task, i) = 0x100 * i;
	word(task, kAccumulator) = 7'654'321;
	word(task, kSumExecRuntime) = 1000;
	task.fields.sum_exec_runtime = 3500;
	for (size_t c = 0; c < 2; c++) {
		task.record.counter_a[c] = word(task, kCounterA + c) + 10 * (c + 1);
		task.record.counter_b[c] = 0x1'0000'0000 + c;
		task.record.counter_c[c] = 0x2'0000'0000 + c;
		task.record.counter_d[c] = 4;
	}

	const std::vector<Record> found = cycle(1000);
	ASSERT_THAT(found, SizeIs(9));
	EXPECT_EQ(found[8].header.channel, 16);
	EXPECT_EQ(found[8].header.len, 192U);
	std::string expected(192, '\0');
	put(expected, 0, u32{0x21222324});
	memcpy(expected.data() + 4, "worker", 6);
	put(expected, 20, u32{0x11121314});
	put(expected, 24, u8{1});
	memcpy(expected.data() + 25, "com.example", 11);
	const u64 words[PLATFORM_LOAD_WORDS] = {
		2500,
		7654,
		(10 * kSmallScale * 1000 / 4 + 20 * kBigScale * 1000 / 4) / 1000,
		3500,
		0x400 + 10,
		0x500 + 20,
		0x600,
		0x700,
		0x1'0000'0000,
		0x1'0000'0001,
		0xa00,
		0xb00,
		0x2'0000'0000,
		0x2'0000'0001,
		0xe00,
		0xf00,
	};
	memcpy(expected.data() + 64, words, sizeof(words));
	EXPECT_EQ(found[8].payload, expected);
}

TEST_F(TaskLoad, setter_gets_only_the_record)
{
	sim::Task &task = make_task(10);
	give_load(task, 1);
	const std::vector<SetterCall> calls = upload_loads();
	ASSERT_THAT(calls, SizeIs(1));
	EXPECT_EQ(calls[0].reserved, 0U);
	EXPECT_EQ(calls[0].sub_type, 0U);
	EXPECT_EQ(payload_of<zem_load>(calls[0].data).pid, 10U);
}

TEST_F(TaskLoad, block_keeps_totals_and_starts_the_sums_of_an_interval_anew)
{
	sim::Task &task = make_task(10);
	task.fields.sum_exec_runtime = 5000;
	give_load(task, 3);
	word(task, kAccumulator) = 2 * kMs;
	EXPECT_EQ(only_load().runtime, 5000U);
	EXPECT_EQ(word(task, kRuntime), 0U);
	EXPECT_EQ(word(task, kAccumulator), 0U);
	EXPECT_EQ(word(task, kCombined), 0U);
	EXPECT_EQ(word(task, kSumExecRuntime), 5000U);
	EXPECT_EQ(word(task, kCounterA), 3000U);
	EXPECT_EQ(task.record.previous_denominators[0], kSmallScale * 1000);

	task.fields.sum_exec_runtime = 5001;
	give_load(task, 4);
	const zem_load second = only_load();
	EXPECT_EQ(second.runtime, 1U);
	EXPECT_EQ(second.usage, 0U);
	EXPECT_EQ(second.combined, 4U);
	EXPECT_EQ(second.sum_exec_runtime, 5001U);
}

TEST_F(TaskLoad, average_is_over_the_window_rounded_down)
{
	sim::Task &task = make_task(10);
	word(task, kAccumulator) = 1999;
	EXPECT_EQ(only_load(1000).usage, 1U);
	word(task, kAccumulator) = 2000;
	EXPECT_EQ(only_load(1000).usage, 2U);
	word(task, kAccumulator) = ~0ULL;
	EXPECT_EQ(only_load(1).usage, ~0ULL);
}

TEST_F(TaskLoad, usage_is_by_the_window_of_the_upload_whoever_closes_another)
{
	for (const int pid : {10, 11, 12})
		word(make_task(pid), kAccumulator) = 25 * kMs;
	hand_back();
	step(1 * kMs);
	/* Between the first two tasks of the walk, which begins after the records of eight CPUs. */
	const auto close_window = [this] {
		step(20);
		kernel.scheduler.meanwhile_on_cpu(3, [this] { inside().close_window(); });
	};
	kernel.faults.at(
		"ring_buffer_lock_reserve",
		[=, this] { kernel.faults.at("next_task", close_window, 2); }, 8);
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	std::vector<u64> usages;
	for (const Record &record : records())
		if (record.header.channel == ZEM_CHANNEL_LOAD)
			usages.push_back(payload_of<zem_load>(record.payload).usage);
	EXPECT_THAT(usages, ElementsAre(25, 25, 25));
}

TEST_F(TaskLoad, task_without_usage_and_load_has_no_record_and_is_sampled_all_the_same)
{
	sim::Task &task = make_task(10);
	word(task, kAccumulator) = 999;
	task.fields.sum_exec_runtime = 5000;
	task.record.counter_a[1] = 1;
	task.record.counter_b[1] = 8;
	task.record.counter_c[0] = 9;
	task.record.counter_d[1] = 1'000'000'000;
	EXPECT_THAT(load_pids(1000), IsEmpty()) << "all of it rounds to 0";
	EXPECT_EQ(word(task, kRuntime), 0U);
	EXPECT_EQ(word(task, kAccumulator), 0U);
	EXPECT_EQ(word(task, kCombined), 0U);
	EXPECT_EQ(word(task, kSumExecRuntime), 5000U);
	EXPECT_EQ(word(task, kCounterA + 1), 1U);
	EXPECT_EQ(word(task, kCounterB + 1), 8U);
	EXPECT_EQ(word(task, kCounterC), 9U);
	EXPECT_EQ(task.record.previous_denominators[1], 1'000'000'000U);
}

TEST_F(TaskLoad, usage_or_load_is_enough_for_a_record)
{
	sim::Task &busy = make_task(10);
	sim::Task &loaded = make_task(11);
	word(busy, kAccumulator) = 1 * kMs;
	give_load(loaded, 1);
	EXPECT_THAT(load_pids(), ElementsAre(10, 11));
	EXPECT_THAT(load_pids(), IsEmpty());
}

TEST_F(TaskLoad, combined_load_is_cycles_for_each_ns_at_the_scale_of_each_cluster)
{
	sim::Task &task = make_task(10);
	EXPECT_EQ(combined(task, 0, 3, 2), kSmallScale * 3 / 2);
	EXPECT_EQ(combined(task, 1, 3, 2), kBigScale * 3 / 2);
	/* Parts are added in units of 1/1000. */
	task.record.counter_a[0] += 1;
	task.record.counter_d[0] += kSmallScale * 2;
	EXPECT_EQ(combined(task, 1, 1, kBigScale * 2), 1U);
	EXPECT_EQ(combined(task, 1, 1999, kBigScale * 1000), 1U);
}

TEST_F(TaskLoad, cluster_that_gained_no_cycles_or_no_time_counts_for_nothing)
{
	sim::Task &task = make_task(10);
	EXPECT_EQ(combined(task, 0, 0, 1000), 0U);
	EXPECT_EQ(combined(task, 0, 1000, 0), 0U);
	EXPECT_EQ(combined(task, 0, 0, 0), 0U);
	/* The cycles were sampled nevertheless. */
	EXPECT_EQ(combined(task, 0, 1, 1), kSmallScale);
	/* The other cluster continues to count. */
	task.record.counter_a[0] += 5;
	EXPECT_EQ(combined(task, 1, 1, 1), kBigScale);
}

/* At 2.4 GHz the product of cycles and scale exceeds 64 bits after 406 s. */
TEST_F(TaskLoad, combined_load_is_right_however_long_the_task_has_run)
{
	constexpr u64 kCyclesPerSecond = 2'400'000'000;
	constexpr u64 kNsPerSecond = 1'000'000'000;
	sim::Task &task = make_task(10);
	for (const u64 seconds : {1, 300, 406, 407, 600, 1200, 86'400, 10'000'000})
		EXPECT_EQ(combined(task, 1, seconds * kCyclesPerSecond, seconds * kNsPerSecond),
			  kBigScale * 24 / 10)
			<< seconds;
	/* Half of the time, and the maximum of the counters. */
	EXPECT_EQ(combined(task, 1, 600 * kCyclesPerSecond, 1200 * kNsPerSecond),
		  kBigScale * 12 / 10);
	task.record.counter_a[1] = word(task, kCounterA + 1) = 0;
	task.record.counter_d[1] = task.record.previous_denominators[1] = 0;
	EXPECT_EQ(combined(task, 1, ~0ULL, ~0ULL), kBigScale);
	EXPECT_EQ(combined(task, 1, ~0ULL - 1, ~0ULL), kBigScale - 1);
	EXPECT_EQ(combined(task, 1, 1ULL << 63, (1ULL << 63) + 1), kBigScale - 1);
}

/* Checks each bit of the quotient against long division. */
TEST_F(TaskLoad, products_of_more_than_64_bits_are_divided_exactly)
{
	sim::Task &task = make_task(10);
	u64 seed = 1;
	const auto number = [&seed] {
		seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
		return seed >> (seed >> 58);
	};
	for (int i = 0; i < 200; i++) {
		const u64 cycles = number() | 1;
		const u64 ns = number() | 1;
		const auto exact = static_cast<unsigned __int128>(cycles) * (kBigScale * 1000) / ns;
		EXPECT_EQ(combined(task, 1, cycles, ns), static_cast<u64>(exact) / 1000)
			<< cycles << " cycles in " << ns << " ns";
	}
}

TEST_F(TaskLoad, counters_that_go_back_and_quotients_that_are_too_large_wrap)
{
	sim::Task &task = make_task(10);
	task.record.counter_a[0] = 1;
	task.record.counter_d[0] = 1;
	word(task, kCounterA) = 2;
	EXPECT_EQ(combined(task, 0, 0, 0), (0 - kSmallScale * 1000) / 1000);
	task.record.counter_d[0] = 0;
	EXPECT_EQ(combined(task, 0, 1, 0), kSmallScale * 1000 / ~0ULL);
	const u64 huge = 1ULL << 60;
	EXPECT_EQ(combined(task, 0, huge, 1), huge * kSmallScale * 1000 / 1000);
	/* Also the sum of two parts. */
	task.record.counter_a[0] += 1ULL << 50;
	task.record.counter_d[0] += 1;
	const u64 part_0 = (1ULL << 50) * kSmallScale * 1000;
	const u64 part_1 = (1ULL << 49) * kBigScale * 1000;
	EXPECT_EQ(combined(task, 1, 1ULL << 49, 1), (part_0 + part_1) / 1000);
	/* Also a run time that decreases. */
	task.fields.sum_exec_runtime = 5;
	word(task, kSumExecRuntime) = 6;
	give_load(task, 1);
	EXPECT_EQ(only_load().runtime, ~0ULL);
}

TEST_F(TaskLoad, task_that_cannot_be_sampled_is_passed_over_untouched)
{
	sim::Task &first = make_task(10);
	sim::Task &task = make_task(11);
	sim::Task &last = make_task(12);
	for (const long answer : {0L, -1L, -4095L}) {
		for (sim::Task *each : {&first, &task, &last})
			give_load(*each, 1);
		sim::Platform::set_record(task, error_value(answer));
		EXPECT_THAT(load_pids(), ElementsAre(10, 12)) << answer;
	}
	sim::Platform::set_record(task, &task.record);
	task.record.load_block = nullptr;
	EXPECT_THAT(load_pids(), IsEmpty());
	EXPECT_EQ(task.record.previous_denominators[0], 0U);
	task.record.load_block = sim::Platform::load_block(task);
	EXPECT_THAT(load_pids(), ElementsAre(11));
}

TEST_F(TaskLoad, idle_task_and_no_task_are_passed_over)
{
	sim::Task &idle = make_task(0);
	give_load(idle, 1);
	word(kernel.platform.initial_task(), kAccumulator) = 1 * kMs;
	EXPECT_THAT(load_pids(), IsEmpty());
	EXPECT_EQ(word(idle, kCounterA), 0U);
	EXPECT_EQ(word(kernel.platform.initial_task(), kAccumulator), 1 * kMs);
	inside().sample_task(nullptr, 1);
}

TEST_F(TaskLoad, without_a_visitor_a_task_is_sampled_and_nobody_told)
{
	sim::Task &task = make_task(10);
	word(task, kAccumulator) = 5 * kMs;
	kernel.rcu.read_lock();
	inside().sample_task(&task, 1);
	kernel.rcu.read_unlock();
	EXPECT_EQ(word(task, kAccumulator), 0U);
	EXPECT_EQ(sim::Platform::references(task), 0);
}

TEST_F(TaskLoad, without_a_window_nothing_is_sampled)
{
	sim::Task &task = make_task(10);
	give_load(task, 1);
	word(task, kAccumulator) = 1 * kMs;
	EXPECT_THAT(loads(0), IsEmpty());
	EXPECT_EQ(word(task, kAccumulator), 1 * kMs);
	EXPECT_EQ(word(task, kCounterA), 0U);
	EXPECT_THAT(load_pids(), ElementsAre(10));
}

TEST_F(TaskLoad, with_the_report_off_tasks_are_consumed_and_nothing_is_sent)
{
	sim::Task &task = make_task(10);
	give_load(task, 1);
	word(task, kAccumulator) = 1 * kMs;
	set_switch("load_metrics_report", false);
	EXPECT_THAT(cycle(1 * kMs), IsEmpty());
	EXPECT_EQ(word(task, kAccumulator), 0U);
	set_switch("load_metrics_report", true);
	EXPECT_THAT(loads(), IsEmpty());
	give_load(task, 1);
	EXPECT_THAT(load_pids(), ElementsAre(10));
}

TEST_F(TaskLoad, process_that_has_only_run_before_the_accounting_was_on_has_no_record)
{
	sim::Task &task = make_task(10);
	set_switch("load_metrics_enabled", false);
	kernel.load.ran(task, 0, 1 * kMs);
	EXPECT_THAT(loads(), IsEmpty());
	set_switch("load_metrics_enabled", true);
	kernel.load.ran(task, 0, 1 * kMs);
	const zem_load load = only_load();
	EXPECT_EQ(load.usage, kSmallScale);
	EXPECT_EQ(load.combined, 0U);
}

class TaskLoadPriming : public UnloadedTest {};

TEST_F(TaskLoadPriming, takes_the_first_baseline_and_uploads_nothing)
{
	sim::Task &task = kernel.platform.make_task();
	u64 *words = sim::Platform::load_block(task);
	words[kAccumulator] = 9 * kMs;
	task.fields.sum_exec_runtime = 777;
	task.record.counter_a[0] = 55;
	task.record.counter_d[0] = 66;
	kernel.load.set_activity(0, 1000, 1000);
	const auto report = [this] {
		/* Also while the report is on. */
		EXPECT_EQ(kernel.proc.write("load_metrics/load_metrics_report", "1"), 1);
		kernel.clock.step_monotonic_ns(1000);
	};
	kernel.faults.at("kobject_create_and_add", report, 2);
	load();
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(words[kAccumulator], 0U);
	EXPECT_EQ(words[kSumExecRuntime], 777U);
	EXPECT_EQ(words[kCounterA], 55U);
	EXPECT_EQ(task.record.previous_denominators[0], 66U);
	EXPECT_EQ(inside().window_length(), 1000U);
}

class TaskLoadOfOneCluster : public TaskLoad {
protected:
	TaskLoadOfOneCluster() { kernel.load.set_clusters({{1, 2'400'000}}); }
};

TEST_F(TaskLoadOfOneCluster, cluster_without_an_entry_adds_nothing)
{
	sim::Task &task = make_task(10);
	EXPECT_EQ(combined(task, 0, 1000, 1), 0U);
	EXPECT_EQ(combined(task, 1, 1000, 1), 1000 * kBigScale);
	kernel.load.ran(task, 0, ~0ULL);
	EXPECT_THAT(loads(), IsEmpty());
}

} /* namespace test */
