// SPDX-License-Identifier: GPL-2.0
/* Which tasks enrol and get counters, and the records of a collection. */
#include <cerrno>

#include "host/svp_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

/* Writes a different number to each counter, in the order of the record. */
void fill(zem_svp_stats &stats)
{
	memset(&stats, 0, sizeof(stats));
	u32 next = 0;
	const auto count = [&](auto &...fields) {
		((fields = ++next), ...);
	};
	const auto counts = [&](auto &...rows) {
		const auto row = [&](auto &values) {
			for (u32 &value : values)
				value = ++next;
		};
		(row(rows), ...);
	};
	counts(stats.run_delay);
	count(stats.run_delay_total);
	counts(stats.runtime);
	count(stats.runtime_total);
	counts(stats.d_state_duration);
	count(stats.d_state_duration_total);
	counts(stats.async_reclaim, stats.async_compact, stats.direct_reclaim, stats.direct_compact,
	       stats.PG_locked, stats.alloc_fail_order);
	count(stats.iowait_total, stats.iowait_total_cnt, stats.iowait_coldstart,
	      stats.iowait_coldstart_cnt);
	counts(stats.iowait_duration);
	count(stats.ui_iowait_long_cnt, stats.read_bytes, stats.read_syscall_cnt, stats.write_bytes,
	      stats.write_syscall_cnt, stats.bio_read_size, stats.bio_read_time, stats.bio_read_cnt,
	      stats.bio_write_size, stats.bio_write_time, stats.bio_write_cnt);
}

/* A row of counters of the record: offset, number and size. */
struct Row {
	size_t offset;
	size_t width;
	size_t count;
};

constexpr Row kRows[] = {
	{56, 4, 4},  {72, 8, 1},  {80, 4, 4},  {96, 8, 1},  {104, 4, 4},  {120, 8, 1}, {128, 4, 7},
	{156, 4, 7}, {184, 4, 7}, {212, 4, 7}, {240, 4, 7}, {268, 4, 11}, {312, 8, 1}, {320, 4, 1},
	{328, 8, 1}, {336, 4, 1}, {340, 4, 7}, {368, 4, 1}, {376, 8, 1},  {384, 4, 1}, {392, 8, 1},
	{400, 4, 1}, {408, 8, 1}, {416, 8, 1}, {424, 4, 1}, {432, 8, 1},  {440, 8, 1}, {448, 4, 1},
};

} /* namespace */

class SvpMetrics : public SvpTest {};

TEST_F(SvpMetrics, task_enrols_when_it_departs_and_is_important_by_its_own_standing)
{
	int pid = 1;
	for (const int answer : {1, 3, -1})
		EXPECT_TRUE(enrols(kernel.platform.make_task({.pid = pid++, .orig_svp = answer})));
	for (const int answer : {0, 2, -2})
		EXPECT_FALSE(enrols(kernel.platform.make_task({.pid = pid++, .orig_svp = answer})));
	EXPECT_TRUE(enrols(kernel.platform.make_task({.pid = pid++, .svp = 0})));
	EXPECT_THAT(collect(), IsEmpty());
}

TEST_F(SvpMetrics, no_task_and_the_idle_task_do_not_enrol)
{
	kernel.hooks.sched_info_depart(nullptr, 1);
	EXPECT_FALSE(enrols(kernel.platform.make_task({.pid = 0})));
}

TEST_F(SvpMetrics, task_without_a_record_does_not_enrol)
{
	sim::Task &task = kernel.platform.make_task();
	for (const long answer : {0L, -1L, -12L, -4095L}) {
		sim::Platform::set_record(task, error_value(answer));
		EXPECT_FALSE(enrols(task)) << answer;
		kernel.hooks.rs_warn_set_svp_task(&task);
	}
	EXPECT_EQ(task.record.svp_stats, nullptr);
}

TEST_F(SvpMetrics, task_is_listed_once_until_it_was_collected)
{
	sim::Task &task = enrolled();
	depart(task);
	kernel.hooks.on_cpu(5).sched_info_depart(&task, 1);
	EXPECT_EQ(sim::Platform::references(task), 1);
	EXPECT_THAT(collect_pids(), ElementsAre(1000));
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_FALSE(task.listed());
	EXPECT_THAT(collect_pids(), IsEmpty());
	EXPECT_TRUE(enrols(task));
	EXPECT_THAT(collect_pids(), ElementsAre(1000));
}

TEST_F(SvpMetrics, most_recent_comes_first)
{
	for (const int pid : {11, 12, 13})
		static_cast<void>(enrolled({.pid = pid}));
	EXPECT_THAT(collect_pids(), ElementsAre(13, 12, 11));
}

TEST_F(SvpMetrics, record_has_every_field_at_its_place)
{
	sim::Task &leader = kernel.platform.make_task({.pid = 0x11121314});
	sim::Platform::set_package(leader, "com.example.app");
	sim::Task &task = enrolled({.pid = 0x21222324,
				    .tgid = 0x11121314,
				    .comm = "fifteen letters",
				    .leader = &leader});
	fill(*task.record.svp_stats);

	std::string expected(456, '\0');
	memcpy(&expected[0], "\x14\x13\x12\x11\x24\x23\x22\x21", 8);
	memcpy(&expected[8], "fifteen letters", 15);
	memcpy(&expected[24], "com.example.app", 15);
	u64 next = 0;
	for (const Row &row : kRows)
		for (size_t i = 0; i < row.count; i++) {
			++next;
			memcpy(&expected[row.offset + i * row.width], &next, row.width);
		}

	EXPECT_EQ(store("trigger", "7"), 1);
	kernel.run_until_idle();
	ASSERT_THAT(records(), SizeIs(2));
	EXPECT_EQ(records()[0].header.channel, ZEM_CHANNEL_SVP);
	EXPECT_EQ(records()[0].header.train_number, 7U);
	EXPECT_EQ(records()[0].header.len, 456U);
	EXPECT_EQ(records()[0].payload, expected);
}

TEST_F(SvpMetrics, counters_are_zero_after_a_collection_and_nothing_of_one_record_is_in_the_next)
{
	sim::Task &second = enrolled({.pid = 2, .comm = "b"});
	sim::Task &first = enrolled({.pid = 1, .comm = "a long name"});
	sim::Platform::set_package(first, "a.long.package.name");
	fill(*first.record.svp_stats);
	const std::vector<zem_svp> svps = collect();
	ASSERT_THAT(svps, SizeIs(2));
	zem_svp expected{.tgid = 2, .pid = 2, .thread_name = "b", .package_name = "", .stats = {}};
	EXPECT_EQ(memcmp(&svps[1], &expected, sizeof(expected)), 0);
	const zem_svp_stats zeros{};
	EXPECT_EQ(memcmp(first.record.svp_stats, &zeros, sizeof(zeros)), 0);
	EXPECT_EQ(memcmp(second.record.svp_stats, &zeros, sizeof(zeros)), 0);
}

TEST_F(SvpMetrics, package_name_is_the_leader_s_cut_to_31_bytes)
{
	sim::Task &leader = kernel.platform.make_task({.pid = 1});
	sim::Task &task = kernel.platform.make_task({.pid = 2, .leader = &leader});
	sim::Platform::set_package(task, "not.the.leader");
	static_cast<void>(kernel.platform.stats(task));
	for (const size_t length : {0, 1, 30, 31, 32, 100}) {
		const std::string name(length, 'p');
		sim::Platform::set_package(leader, name);
		depart(task);
		const std::vector<zem_svp> svps = collect();
		ASSERT_THAT(svps, SizeIs(1));
		EXPECT_EQ(std::string(svps[0].package_name), name.substr(0, 31));
	}
}

TEST_F(SvpMetrics, package_name_is_empty_where_there_is_none_to_ask)
{
	sim::Task &leader = kernel.platform.make_task({.pid = 1});
	sim::Task &idle = kernel.platform.make_task({.pid = 0});
	sim::Platform::set_package(leader, "com.example");
	sim::Platform::set_package(idle, "com.idle");
	sim::Task &task = kernel.platform.make_task({.pid = 2, .leader = &leader});
	static_cast<void>(kernel.platform.stats(task));
	const auto package = [&] {
		depart(task);
		const std::vector<zem_svp> svps = collect();
		return svps.size() == 1 ? std::string(svps[0].package_name) : "no record";
	};

	EXPECT_EQ(package(), "com.example");
	for (const int state : {16, 32}) {
		task.fields.exit_state = state;
		EXPECT_EQ(package(), "") << state;
	}
	/* Other states, even one that shares a bit, do not hide the name. */
	task.fields.exit_state = 48;
	EXPECT_EQ(package(), "com.example");
	task.fields.exit_state = 0;
	for (const long answer : {0L, -1L, -4095L}) {
		sim::Platform::set_record(leader, error_value(answer));
		EXPECT_EQ(package(), "") << answer;
	}
	sim::Platform::set_record(leader, &leader.record);
	leader.record.package_name = nullptr;
	EXPECT_EQ(package(), "");
	for (sim::Task *other : {static_cast<sim::Task *>(nullptr), &idle}) {
		task.fields.leader = other;
		EXPECT_EQ(package(), "");
	}
}

TEST_F(SvpMetrics, cold_start_is_held_back_and_delivered_whole_when_the_start_has_ended)
{
	sim::Task &task = enrolled({.uid = 10123});
	zem_svp_stats &stats = *task.record.svp_stats;
	stats.iowait_coldstart = 500;
	stats.iowait_coldstart_cnt = 3;
	stats.iowait_total = 7;
	kernel.platform.set_starting_uid(10123);
	/* While the record is pushed, the value is held back, and the others are still there. */
	kernel.faults.at("ring_buffer_lock_reserve", [&] {
		EXPECT_EQ(stats.iowait_coldstart, 0U);
		EXPECT_EQ(stats.iowait_coldstart_cnt, 0U);
		EXPECT_EQ(stats.iowait_total, 7U);
		stats.iowait_coldstart = 1000;
	});
	const std::vector<zem_svp> during = collect();
	ASSERT_THAT(during, SizeIs(1));
	EXPECT_EQ(during[0].stats.iowait_total, 7U);
	EXPECT_EQ(during[0].stats.iowait_coldstart, 0U);
	EXPECT_EQ(during[0].stats.iowait_coldstart_cnt, 0U);
	/* Counts between the copy and the zeroing are lost, as for any counter. */
	EXPECT_EQ(stats.iowait_coldstart, 500U);
	EXPECT_EQ(stats.iowait_coldstart_cnt, 3U);
	EXPECT_EQ(stats.iowait_total, 0U);

	stats.iowait_coldstart += 200;
	stats.iowait_coldstart_cnt += 1;
	kernel.platform.set_starting_uid(10124);
	depart(task);
	const std::vector<zem_svp> after = collect();
	ASSERT_THAT(after, SizeIs(1));
	EXPECT_EQ(after[0].stats.iowait_coldstart, 700U);
	EXPECT_EQ(after[0].stats.iowait_coldstart_cnt, 4U);
	EXPECT_EQ(stats.iowait_coldstart, 0U);
}

TEST_F(SvpMetrics, cold_start_of_no_time_is_not_given_back)
{
	sim::Task &task = enrolled({.uid = 10123});
	task.record.svp_stats->iowait_coldstart_cnt = 2;
	kernel.platform.set_starting_uid(10123);
	ASSERT_THAT(collect(), SizeIs(1));
	EXPECT_EQ(task.record.svp_stats->iowait_coldstart_cnt, 0U);
}

TEST_F(SvpMetrics, task_without_counters_gives_no_record_and_is_released)
{
	sim::Task &task = kernel.platform.make_task();
	EXPECT_TRUE(enrols(task));
	EXPECT_THAT(collect(), IsEmpty());
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_TRUE(enrols(task));
}

TEST_F(SvpMetrics, task_that_departs_during_a_collection_is_in_the_next)
{
	sim::Task &task = enrolled({.pid = 1});
	sim::Task &other = kernel.platform.make_task({.pid = 2});
	static_cast<void>(kernel.platform.stats(other));
	kernel.faults.at("ring_buffer_lock_reserve", [&] {
		kernel.scheduler.meanwhile_on_cpu(3, [&] {
			depart(task);
			EXPECT_TRUE(enrols(other));
		});
		/* Still listed: the record is being pushed. */
		EXPECT_EQ(sim::Platform::references(task), 1);
	});
	EXPECT_THAT(collect_pids(), ElementsAre(1));
	EXPECT_THAT(collect_pids(), ElementsAre(2));
	EXPECT_EQ(sim::Platform::references(task), 0);
}

TEST_F(SvpMetrics, task_that_exits_while_listed_lives_until_it_was_collected)
{
	sim::Task &task = enrolled({.comm = "gone"});
	sim::Platform::set_package(task, "com.example");
	kernel.platform.exit(task);
	EXPECT_EQ(kernel.platform.tasks(), 1U);
	const std::vector<zem_svp> svps = collect();
	ASSERT_THAT(svps, SizeIs(1));
	EXPECT_STREQ(svps[0].thread_name, "gone");
	EXPECT_STREQ(svps[0].package_name, "");
	EXPECT_EQ(kernel.platform.tasks(), 0U);
}

TEST_F(SvpMetrics, task_that_becomes_important_gets_zeroed_counters_once)
{
	sim::Task &task = kernel.platform.make_task();
	const size_t before = kernel.slab.allocations();
	kernel.hooks.rs_warn_set_svp_task(&task);
	zem_svp_stats *stats = task.record.svp_stats;
	ASSERT_NE(stats, nullptr);
	EXPECT_TRUE(kernel.slab.covers(stats, 400));
	const zem_svp_stats zeros{};
	EXPECT_EQ(memcmp(stats, &zeros, sizeof(zeros)), 0);
	kernel.hooks.rs_warn_set_svp_task(&task);
	EXPECT_EQ(task.record.svp_stats, stats);
	EXPECT_EQ(kernel.slab.allocations(), before + 1);
	EXPECT_EQ(sim::Platform::references(task), 0);
}

TEST_F(SvpMetrics, task_that_cannot_enrol_gets_no_counters)
{
	const size_t before = kernel.slab.allocations();
	kernel.hooks.rs_warn_set_svp_task(nullptr);
	kernel.hooks.rs_warn_set_svp_task(&kernel.platform.make_task({.pid = 0}));
	for (const int answer : {0, 2})
		kernel.hooks.rs_warn_set_svp_task(&kernel.platform.make_task({.orig_svp = answer}));
	EXPECT_EQ(kernel.slab.allocations(), before);
}

TEST_F(SvpMetrics, task_without_memory_for_counters_gets_them_next_time)
{
	sim::Task &task = kernel.platform.make_task();
	kernel.faults.fail("kzalloc_atomic");
	kernel.hooks.rs_warn_set_svp_task(&task);
	EXPECT_EQ(task.record.svp_stats, nullptr);
	EXPECT_TRUE(enrols(task));
	EXPECT_THAT(collect(), IsEmpty());
	kernel.hooks.rs_warn_set_svp_task(&task);
	EXPECT_NE(task.record.svp_stats, nullptr);
}

TEST_F(SvpMetrics, second_of_two_concurrent_allocations_is_freed)
{
	sim::Task &task = kernel.platform.make_task();
	const size_t before = kernel.slab.allocations();
	zem_svp_stats *first = nullptr;
	kernel.faults.at("kzalloc_atomic", [&] {
		kernel.scheduler.meanwhile_on_cpu(1, [&] {
			kernel.hooks.rs_warn_set_svp_task(&task);
		});
		first = task.record.svp_stats;
	});
	kernel.hooks.rs_warn_set_svp_task(&task);
	EXPECT_NE(first, nullptr);
	EXPECT_EQ(task.record.svp_stats, first);
	EXPECT_EQ(kernel.slab.allocations(), before + 1);
}

TEST_F(SvpMetrics, switched_off_nobody_enrols_or_gets_counters_and_the_listed_are_collected)
{
	sim::Task &listed = enrolled({.pid = 1});
	EXPECT_EQ(switch_to("0"), 1);
	sim::Task &task = kernel.platform.make_task({.pid = 2});
	EXPECT_FALSE(enrols(task));
	kernel.hooks.rs_warn_set_svp_task(&task);
	EXPECT_EQ(task.record.svp_stats, nullptr);
	EXPECT_THAT(collect_pids(), ElementsAre(1));
	EXPECT_EQ(sim::Platform::references(listed), 0);
	EXPECT_EQ(switch_to("1"), 1);
	EXPECT_TRUE(enrols(task));
}

TEST_F(SvpMetrics, unloading_lets_the_enrolled_go)
{
	sim::Task &task = enrolled();
	sim::Task &exited = enrolled({.pid = 2});
	kernel.platform.exit(exited);
	unload();
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_FALSE(task.listed());
	EXPECT_EQ(kernel.platform.tasks(), 1U);
}

class SvpPriming : public UnloadedTest {};

TEST_F(SvpPriming, takes_the_enrolled_off_and_zeroes_their_counters_without_a_record)
{
	sim::Task &task = kernel.platform.make_task();
	kernel.platform.stats(task).read_bytes = 5;
	kernel.faults.at("misc_register",
			 [&] { kernel.hooks.sched_info_depart(&task, 1'000'000); });
	load();
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_FALSE(task.listed());
	EXPECT_EQ(task.record.svp_stats->read_bytes, 0U);
	EXPECT_EQ(task.record.svp_stats->runtime_total, 0U);
	EXPECT_THAT(drained_payloads(), IsEmpty());
}

} /* namespace test */
