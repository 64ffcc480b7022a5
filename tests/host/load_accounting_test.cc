// SPDX-License-Identifier: GPL-2.0
/* The table of clusters, and the run time that a process accumulates for all its threads. */
#include "host/load_fixture.h"

namespace test {

namespace {

/* The module's data of a cluster. */
struct ClusterUnit {
	u64 scale;
	u64 capacity;
	u64 ref_freq;

	bool operator==(const ClusterUnit &) const = default;
};

std::ostream &operator<<(std::ostream &out, const ClusterUnit &unit)
{
	return out << "{scale " << unit.scale << ", capacity " << unit.capacity << ", ref_freq "
		   << unit.ref_freq << '}';
}

constexpr u64 kSmallCapacity = 25890;

} /* namespace */

class LoadAccounting : public LoadTest {
protected:
	/* Returns the growth of @whose accumulator when @task runs. */
	[[nodiscard]] u64 gained(sim::Task &whose, sim::Task &task, u32 cluster, u64 run)
	{
		const u64 before = word(whose, kAccumulator);
		kernel.load.ran(task, cluster, run);
		return word(whose, kAccumulator) - before;
	}
};

TEST_F(LoadAccounting, run_time_is_scaled_by_the_cluster_it_was_spent_on)
{
	sim::Task &task = make_task(10);
	EXPECT_EQ(gained(task, task, 0, 7), 7 * kSmallScale);
	EXPECT_EQ(gained(task, task, 1, 7), 7 * kBigScale);
	EXPECT_EQ(gained(task, task, 1, 0), 0U);
	EXPECT_EQ(word(task, kAccumulator), 7 * kSmallScale + 7 * kBigScale);
}

TEST_F(LoadAccounting, all_threads_of_a_process_add_to_its_leader)
{
	sim::Task &leader = make_task(10);
	sim::Task &thread = make_thread(leader, 11);
	sim::Task &other = make_task(12);
	EXPECT_EQ(gained(leader, thread, 0, 3), 3 * kSmallScale);
	EXPECT_EQ(gained(leader, leader, 0, 4), 4 * kSmallScale);
	EXPECT_EQ(word(thread, kAccumulator), 0U);
	EXPECT_EQ(word(other, kAccumulator), 0U);
}

TEST_F(LoadAccounting, nothing_but_the_accumulator_is_touched)
{
	sim::Task &task = make_task(10);
	for (size_t i = 0; i < PLATFORM_LOAD_WORDS; i++)
		word(task, i) = 100 + i;
	kernel.load.ran(task, 1, 1);
	for (size_t i = 0; i < PLATFORM_LOAD_WORDS; i++)
		EXPECT_EQ(word(task, i), 100 + i + (i == kAccumulator ? kBigScale : 0)) << i;
	EXPECT_EQ(sim::Platform::references(task), 0);
}

TEST_F(LoadAccounting, product_and_sum_wrap)
{
	sim::Task &task = make_task(10);
	word(task, kAccumulator) = ~0ULL;
	kernel.load.ran(task, 0, 1);
	EXPECT_EQ(word(task, kAccumulator), kSmallScale - 1);
	word(task, kAccumulator) = 0;
	kernel.load.ran(task, 1, ~0ULL);
	EXPECT_EQ(word(task, kAccumulator), 0 - kBigScale);
}

TEST_F(LoadAccounting, exited_task_adds_nothing)
{
	sim::Task &leader = make_task(10);
	sim::Task &thread = make_thread(leader, 11);
	for (const int state : {16, 32}) {
		thread.fields.exit_state = state;
		EXPECT_EQ(gained(leader, thread, 0, 1), 0U) << state;
	}
	/* Other states, even one that shares a bit. */
	for (const int state : {0, 1, 48}) {
		thread.fields.exit_state = state;
		EXPECT_EQ(gained(leader, thread, 0, 1), kSmallScale) << state;
	}
}

TEST_F(LoadAccounting, leader_that_has_exited_goes_on_gathering)
{
	sim::Task &leader = make_task(10);
	sim::Task &thread = make_thread(leader, 11);
	sim::Platform::become_zombie(leader);
	EXPECT_EQ(gained(leader, thread, 0, 1), kSmallScale);
}

TEST_F(LoadAccounting, without_a_leader_that_has_a_record_nothing_is_added)
{
	sim::Task &leader = make_task(10);
	sim::Task &idle = make_task(0);
	sim::Task &thread = make_thread(leader, 11);
	for (const long answer : {0L, -1L, -4095L}) {
		sim::Platform::set_record(leader, error_value(answer));
		EXPECT_EQ(gained(leader, thread, 0, 1), 0U) << answer;
	}
	sim::Platform::set_record(leader, &leader.record);
	thread.fields.leader = &idle;
	EXPECT_EQ(gained(idle, thread, 0, 1), 0U);
	thread.fields.leader = nullptr;
	EXPECT_EQ(gained(thread, thread, 0, 1), 0U);
	EXPECT_EQ(word(leader, kAccumulator), 0U);
}

/* The task's own record is not used. */
TEST_F(LoadAccounting, thread_without_a_record_adds_to_its_leader)
{
	sim::Task &leader = make_task(10);
	sim::Task &thread = make_thread(leader, 11);
	sim::Platform::set_record(thread, nullptr);
	EXPECT_EQ(gained(leader, thread, 0, 1), kSmallScale);
}

TEST_F(LoadAccounting, leader_without_a_load_block_is_passed_over)
{
	sim::Task &leader = make_task(10);
	leader.record.load_block = nullptr;
	EXPECT_EQ(gained(leader, leader, 0, 1), 0U);
}

TEST_F(LoadAccounting, switched_off_nothing_is_added_until_it_is_on_again)
{
	sim::Task &task = make_task(10);
	EXPECT_EQ(gained(task, task, 0, 1), kSmallScale);
	set_switch("load_metrics_enabled", false);
	EXPECT_EQ(gained(task, task, 0, 1), 0U);
	set_switch("load_metrics_enabled", true);
	EXPECT_EQ(gained(task, task, 0, 1), kSmallScale);
}

TEST_F(LoadAccounting, report_switch_has_nothing_to_do_with_it)
{
	sim::Task &task = make_task(10);
	set_switch("load_metrics_report", false);
	EXPECT_EQ(gained(task, task, 0, 1), kSmallScale);
}

TEST_F(LoadAccounting, nobody_is_called_after_unloading)
{
	sim::Task &task = make_task(10);
	unload();
	EXPECT_EQ(gained(task, task, 0, 1), 0U);
}

class LoadAccountingDeathTest : public LoadAccounting {
protected:
	LoadAccountingDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(LoadAccountingDeathTest, third_cluster_in_the_feed_is_fatal)
{
	sim::Task &task = make_task(10);
	EXPECT_EXIT(kernel.load.ran(task, 2, 1), ::testing::ExitedWithCode(1), "BUG in test");
	EXPECT_EXIT(kernel.load.ran(task, ~0U, 0), ::testing::ExitedWithCode(1), "BUG in test");
}

TEST_F(LoadAccounting, third_cluster_is_not_looked_at_when_nothing_is_to_be_added)
{
	sim::Task &task = make_task(10);
	task.fields.exit_state = 16;
	EXPECT_EQ(gained(task, task, 2, 1), 0U);
	task.fields.exit_state = 0;
	sim::Platform::set_record(task, nullptr);
	EXPECT_EQ(gained(task, task, 2, 1), 0U);
	sim::Platform::set_record(task, &task.record);
	set_switch("load_metrics_enabled", false);
	EXPECT_EQ(gained(task, task, 2, 1), 0U);
}

class Clusters : public UnloadedTest {
protected:
	[[nodiscard]] std::array<ClusterUnit, 2> units(const std::vector<sim::Cluster> &clusters)
	{
		kernel.load.set_clusters(clusters);
		load();
		const zem::ClusterUnit *units = inside().cluster_units();
		const std::array<ClusterUnit, 2> copy = {{
			{units[0].scale, units[0].capacity, units[0].ref_freq},
			{units[1].scale, units[1].capacity, units[1].ref_freq},
		}};
		unload();
		return copy;
	}

	[[nodiscard]] static std::array<ClusterUnit, 2> expected(u64 small_scale, u64 small_freq,
								 u64 big_scale, u64 big_freq)
	{
		return {ClusterUnit{small_scale, kSmallCapacity, small_freq},
			ClusterUnit{big_scale, kBigCapacity, big_freq}};
	}
};

TEST_F(Clusters, scale_is_the_capacity_for_each_cycle_rounded_down)
{
	EXPECT_EQ(units({{0, 1'800'000}, {1, 2'400'000}}),
		  expected(14383, 1'800'000, 18921, 2'400'000));
	EXPECT_EQ(units({{1, 1}, {0, 25'890'000'001}}),
		  expected(0, 25'890'000'001, 45'411'000'000, 1));
}

TEST_F(Clusters, cluster_without_an_entry_or_a_frequency_has_no_scale)
{
	EXPECT_EQ(units({}), expected(0, 0, 0, 0));
	EXPECT_EQ(units({{0, 1'000'000}}), expected(25890, 1'000'000, 0, 0));
	EXPECT_EQ(units({{0, 0}, {1, 1'000'000}}), expected(0, 0, 45411, 1'000'000));
}

TEST_F(Clusters, later_entry_of_the_same_index_stands)
{
	EXPECT_EQ(units({{0, 1'000'000}, {0, 2'000'000}}), expected(12945, 2'000'000, 0, 0));
	EXPECT_EQ(units({{0, 1'000'000}, {0, 0}}), expected(0, 0, 0, 0));
}

class ClustersDeathTest : public Clusters {
protected:
	ClustersDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(ClustersDeathTest, third_cluster_in_the_list_is_fatal)
{
	kernel.load.set_clusters({{0, 1}, {1, 1}, {2, 1}});
	EXPECT_EXIT(static_cast<void>(module.load()), ::testing::ExitedWithCode(1), "BUG in test");
}

TEST_F(ClustersDeathTest, cpu_32_is_fatal_and_cpu_31_is_not)
{
	load();
	const auto cluster_of = inside().cluster_of_cpu;
	EXPECT_EQ(cluster_of(3), 0U);
	EXPECT_EQ(cluster_of(4), 1U);
	kernel.cpus.set_package(31, 7);
	EXPECT_EQ(cluster_of(31), 7U);
	EXPECT_EXIT(static_cast<void>(cluster_of(32)), ::testing::ExitedWithCode(1), "BUG in test");
}

TEST_F(Clusters, percentages_are_of_the_big_cluster_whatever_its_frequency)
{
	kernel.load.set_clusters({});
	load();
	const auto percent = inside().percent_of_capacity;
	EXPECT_EQ(percent(0), 0U);
	EXPECT_EQ(percent(454), 0U);
	EXPECT_EQ(percent(455), 1U);
	EXPECT_EQ(percent(45410), 99U);
	EXPECT_EQ(percent(45411), 100U);
	EXPECT_EQ(percent(~0ULL), (~0ULL - 99) / 45411) << "the product wraps";
	/* Without the capacity there is no percentage. */
	inside().cluster_units()[1].capacity = 0;
	EXPECT_EQ(percent(455), 0U);
}

} /* namespace test */
