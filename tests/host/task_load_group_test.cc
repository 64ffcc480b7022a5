// SPDX-License-Identifier: GPL-2.0
/* The group and leader in a load record, and which tasks have them. */
#include "host/load_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr u32 kMarked = 1U << 4;
constexpr u32 kAllButMarked = ~kMarked;

} /* namespace */

class TaskLoadGroup : public LoadTest {
protected:
	void SetUp() override
	{
		LoadTest::SetUp();
		set_switch("thread_metrics_enabled", true);
	}

	/* Returns the record of the only task that has a load. */
	[[nodiscard]] zem_load load_of(sim::Task &task)
	{
		give_load(task, 1);
		const std::vector<zem_load> found = loads();
		EXPECT_THAT(found, SizeIs(1));
		return found.empty() ? zem_load{} : found[0];
	}

	/* Leaves a task's flag and package in the record. */
	void upload_marked()
	{
		sim::Task &task = make_task(next_pid++);
		task.record.flags = kMarked;
		sim::Platform::set_package(task, "com.before");
		const zem_load load = load_of(task);
		EXPECT_EQ(load.leader_flag, 1);
		EXPECT_STREQ(load.pkg, "com.before");
		kernel.platform.exit(task);
	}

	int next_pid = 5000;
};

TEST_F(TaskLoadGroup, ppid_is_the_leader_s_pid)
{
	sim::Task &leader = make_task(10);
	sim::Task &thread = make_thread(leader, 11);
	EXPECT_EQ(load_of(leader).ppid, 10);
	EXPECT_EQ(load_of(thread).ppid, 10);
}

TEST_F(TaskLoadGroup, comm_is_whole_and_what_is_behind_it_is_zero)
{
	sim::Task &longest = make_task(10, "fifteen letters");
	sim::Task &shorter = make_task(11, "x");
	EXPECT_EQ(std::string(load_of(longest).comm, 16), std::string("fifteen letters\0", 16));
	EXPECT_EQ(std::string(load_of(shorter).comm, 16), "x" + std::string(15, '\0'));
}

TEST_F(TaskLoadGroup, without_a_leader_ppid_is_minus_1_and_the_rest_stays)
{
	upload_marked();
	sim::Task &task = make_task(10);
	sim::Platform::set_package(task, "com.own");
	task.fields.leader = nullptr;
	const zem_load load = load_of(task);
	EXPECT_EQ(load.ppid, -1);
	EXPECT_EQ(load.leader_flag, 1);
	EXPECT_STREQ(load.pkg, "com.before");
}

TEST_F(TaskLoadGroup, task_that_has_exited_carries_the_flag_and_the_package_of_the_one_before)
{
	sim::Task &leader = make_task(10);
	sim::Platform::set_package(leader, "com.own");
	sim::Task &thread = make_thread(leader, 11);
	for (const int state : {16, 32}) {
		upload_marked();
		thread.fields.exit_state = state;
		const zem_load load = load_of(thread);
		EXPECT_EQ(load.pid, 11U);
		EXPECT_EQ(load.ppid, 10);
		EXPECT_EQ(load.leader_flag, 1) << state;
		EXPECT_STREQ(load.pkg, "com.before") << state;
	}
	for (const int state : {0, 1, 48}) {
		upload_marked();
		thread.fields.exit_state = state;
		const zem_load load = load_of(thread);
		EXPECT_EQ(load.leader_flag, 0) << state;
		EXPECT_STREQ(load.pkg, "com.own") << state;
	}
}

/* In one upload, with the tasks in the order of the list. */
TEST_F(TaskLoadGroup, carry_over_is_from_the_record_before_in_the_walk)
{
	sim::Task &first = make_task(10);
	sim::Task &gone = make_task(11);
	sim::Task &last = make_task(12);
	sim::Platform::set_package(first, "com.first");
	sim::Platform::set_package(gone, "com.gone");
	sim::Platform::set_package(last, "com.last");
	first.record.flags = kMarked;
	sim::Platform::become_zombie(gone);
	for (sim::Task *task : {&first, &gone, &last})
		give_load(*task, 1);
	const std::vector<zem_load> found = loads();
	ASSERT_THAT(found, SizeIs(3));
	EXPECT_STREQ(found[1].pkg, "com.first");
	EXPECT_EQ(found[1].leader_flag, 1);
	EXPECT_STREQ(found[2].pkg, "com.last");
	EXPECT_EQ(found[2].leader_flag, 0);
	/* The next upload starts with the content of the last record. */
	give_load(gone, 1);
	const std::vector<zem_load> again = loads();
	ASSERT_THAT(again, SizeIs(1));
	EXPECT_STREQ(again[0].pkg, "com.last");
}

TEST_F(TaskLoadGroup, flag_is_bit_4_of_the_flags_of_the_leader_s_leader)
{
	sim::Task &top = make_task(9);
	sim::Task &leader = make_task(10);
	sim::Task &task = make_thread(leader, 11);
	task.record.flags = kMarked;
	EXPECT_EQ(load_of(task).leader_flag, 0) << "not the task's own";
	leader.record.flags = kMarked;
	EXPECT_EQ(load_of(task).leader_flag, 1);
	leader.record.flags = kAllButMarked;
	EXPECT_EQ(load_of(task).leader_flag, 0);
	leader.record.flags = ~0U;
	EXPECT_EQ(load_of(task).leader_flag, 1) << "1, not the bit";

	/* The leader is rarely in another group, but then its leader counts. */
	leader.fields.leader = &top;
	EXPECT_EQ(load_of(task).leader_flag, 0);
	top.record.flags = kMarked;
	leader.record.flags = 0;
	EXPECT_EQ(load_of(task).leader_flag, 1);
}

TEST_F(TaskLoadGroup, flag_is_0_when_there_is_nobody_to_ask)
{
	sim::Task &idle = make_task(0);
	sim::Task &top = make_task(9);
	sim::Task &leader = make_task(10);
	sim::Task &task = make_thread(leader, 11);
	leader.fields.leader = &top;
	for (sim::Task *each : {&idle, &top, &leader, &task})
		each->record.flags = kMarked;
	const auto flag = [&] {
		upload_marked();
		return load_of(task).leader_flag;
	};
	EXPECT_EQ(flag(), 1);
	for (const int state : {16, 32}) {
		leader.fields.exit_state = state;
		EXPECT_EQ(flag(), 0) << state;
	}
	leader.fields.exit_state = 0;
	top.fields.exit_state = 32;
	EXPECT_EQ(flag(), 1) << "whether that one has exited does not matter";
	for (const long answer : {0L, -1L, -4095L}) {
		sim::Platform::set_record(top, error_value(answer));
		EXPECT_EQ(flag(), 0) << answer;
	}
	sim::Platform::set_record(top, &top.record);
	leader.fields.leader = &idle;
	EXPECT_EQ(flag(), 0);
	leader.fields.leader = nullptr;
	EXPECT_EQ(flag(), 0);
}

TEST_F(TaskLoadGroup, package_is_the_leader_s_even_when_that_has_exited)
{
	sim::Task &leader = make_task(10);
	sim::Task &task = make_thread(leader, 11);
	sim::Platform::set_package(leader, "com.leader");
	sim::Platform::set_package(task, "com.own");
	EXPECT_STREQ(load_of(task).pkg, "com.leader");
	upload_marked();
	sim::Platform::become_zombie(leader);
	const zem_load load = load_of(task);
	EXPECT_STREQ(load.pkg, "com.leader");
	EXPECT_EQ(load.leader_flag, 0);
}

TEST_F(TaskLoadGroup, package_of_before_stays_when_there_is_none)
{
	sim::Task &idle = make_task(0);
	sim::Platform::set_package(idle, "com.idle");
	sim::Task &leader = make_task(10);
	sim::Task &task = make_thread(leader, 11);
	upload_marked();
	EXPECT_STREQ(load_of(task).pkg, "com.before") << "no name";
	sim::Platform::set_package(leader, "com.leader");
	for (const long answer : {0L, -1L, -4095L}) {
		sim::Platform::set_record(leader, error_value(answer));
		EXPECT_STREQ(load_of(task).pkg, "com.before") << answer;
	}
	task.fields.leader = &idle;
	const zem_load load = load_of(task);
	EXPECT_STREQ(load.pkg, "com.before");
	EXPECT_EQ(load.ppid, 0);
	EXPECT_EQ(load.leader_flag, 0);
}

TEST_F(TaskLoadGroup, package_is_cut_at_31_letters_and_what_is_behind_its_end_is_older)
{
	sim::Task &task = make_task(10);
	const auto pkg = [&](const std::string &package) {
		sim::Platform::set_package(task, package);
		return std::string(load_of(task).pkg, sizeof(zem_load::pkg));
	};
	const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789";
	for (const size_t length : {31, 32, 36})
		EXPECT_EQ(pkg(letters.substr(0, length)), letters.substr(0, 31) + '\0') << length;
	EXPECT_EQ(pkg(std::string(30, 'A')), std::string(30, 'A') + '\0' + '\0');
	EXPECT_EQ(pkg("BC"), "BC" + std::string(1, '\0') + std::string(27, 'A') + '\0' + '\0');
	EXPECT_EQ(pkg(""), std::string(1, '\0') + "C" + std::string(1, '\0') +
				   std::string(27, 'A') + '\0' + '\0');
}

/* The padding is never written. */
TEST_F(TaskLoadGroup, seven_bytes_between_package_and_block_stay_zero)
{
	sim::Task &task = make_task(10);
	sim::Platform::set_package(task, std::string(100, 'x'));
	const zem_load load = load_of(task);
	EXPECT_EQ(std::string(reinterpret_cast<const char *>(load.reserved), 7),
		  std::string(7, '\0'));
}

class TaskLoadWalk : public LoadTest {};

TEST_F(TaskLoadWalk, processes_come_in_the_order_of_the_list_and_threads_not_at_all)
{
	sim::Task &first = make_task(30);
	sim::Task &second = make_task(20);
	sim::Task &thread = make_thread(first, 31);
	sim::Task &third = make_task(10);
	for (sim::Task *task : {&first, &second, &thread, &third})
		give_load(*task, 1);
	EXPECT_THAT(load_pids(), ElementsAre(30, 20, 10));
	EXPECT_EQ(word(thread, kCounterA), 0U);
}

TEST_F(TaskLoadWalk, threads_come_behind_their_leader_before_the_next_process)
{
	set_switch("thread_metrics_enabled", true);
	sim::Task &first = make_task(30);
	sim::Task &second = make_task(20);
	sim::Task &one = make_thread(first, 32);
	sim::Task &other = make_thread(first, 31);
	sim::Task &thread = make_thread(second, 21);
	for (sim::Task *task : {&first, &second, &one, &other, &thread})
		give_load(*task, 1);
	EXPECT_THAT(load_pids(), ElementsAre(30, 32, 31, 20, 21));
	give_load(other, 1);
	EXPECT_THAT(load_pids(), ElementsAre(31)) << "the leader itself has nothing";
}

TEST_F(TaskLoadWalk, run_time_of_all_threads_is_only_in_the_leader_s_record)
{
	set_switch("thread_metrics_enabled", true);
	sim::Task &leader = make_task(30);
	sim::Task &thread = make_thread(leader, 31);
	kernel.load.ran(leader, 0, 1 * kMs);
	kernel.load.ran(thread, 0, 2 * kMs);
	give_load(thread, 5);
	const std::vector<zem_load> found = loads(1 * kMs);
	ASSERT_THAT(found, SizeIs(2));
	EXPECT_EQ(found[0].usage, 3 * kSmallScale);
	EXPECT_EQ(found[0].combined, 0U);
	EXPECT_EQ(found[1].usage, 0U);
	EXPECT_EQ(found[1].combined, 5U);
}

TEST_F(TaskLoadWalk, zombie_on_the_list_has_its_last_record)
{
	sim::Task &task = make_task(10);
	give_load(task, 1);
	sim::Platform::become_zombie(task);
	EXPECT_THAT(load_pids(), ElementsAre(10));
	give_load(task, 1);
	kernel.platform.exit(task);
	EXPECT_THAT(load_pids(), IsEmpty());
}

TEST_F(TaskLoadWalk, process_that_exits_during_its_visit_leads_to_the_next)
{
	std::vector<sim::Task *> tasks;
	for (const int pid : {10, 11, 12})
		tasks.push_back(&make_task(pid));
	for (sim::Task *task : tasks)
		give_load(*task, 1);
	/* The walk has reached the first task and is about to continue. */
	kernel.faults.at(
		"next_task",
		[&] {
			kernel.scheduler.meanwhile_on_cpu(3, [&] {
				kernel.platform.exit(*tasks[0]);
				kernel.platform.exit(*tasks[1]);
			});
		},
		2);
	EXPECT_THAT(load_pids(), ElementsAre(10, 11, 12));
	EXPECT_EQ(kernel.platform.tasks(), 1U);
}

TEST_F(TaskLoadWalk, thread_that_exits_during_its_visit_leads_to_the_next)
{
	set_switch("thread_metrics_enabled", true);
	sim::Task &leader = make_task(10);
	sim::Task &thread = make_thread(leader, 11);
	sim::Task &other = make_thread(leader, 12);
	for (sim::Task *task : {&leader, &thread, &other})
		give_load(*task, 1);
	kernel.faults.at(
		"next_thread",
		[&] {
			kernel.scheduler.meanwhile_on_cpu(3, [&] { kernel.platform.exit(thread); });
		},
		2);
	EXPECT_THAT(load_pids(), ElementsAre(10, 11, 12));
	EXPECT_EQ(kernel.platform.tasks(), 2U);
}

TEST_F(TaskLoadWalk, without_any_process_there_is_no_record)
{
	EXPECT_THAT(loads(), IsEmpty());
}

} /* namespace test */
