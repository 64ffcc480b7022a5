// SPDX-License-Identifier: GPL-2.0
/* The bound on enrolled tasks, and the reference that a task holds during collections. */
#include <memory>

#include "host/svp_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SvpEnrolment : public SvpTest {
protected:
	static constexpr int kMostEnrolled = 8192;

	/* Enrols tasks 1 to kMostEnrolled. */
	void fill_the_list()
	{
		for (int pid = 1; pid <= kMostEnrolled; pid++) {
			tasks.push_back(&kernel.platform.make_task({.pid = pid}));
			ASSERT_TRUE(enrols(*tasks.back())) << pid;
		}
	}

	[[nodiscard]] std::string refused()
	{
		return kernel.sysfs.read("module/zem/counters/svp_tasks_refused").data;
	}

	[[nodiscard]] llist_node *listed()
	{
		return module.symbol<llist_head>("record_svp_task_list")->first;
	}

	std::vector<sim::Task *> tasks;
};

TEST_F(SvpEnrolment, one_task_too_many_is_not_listed_until_the_next_collection)
{
	fill_the_list();
	sim::Task &late = kernel.platform.make_task({.pid = 9000});
	EXPECT_EQ(refused(), "0\n");
	for (int i = 0; i < 3; i++)
		EXPECT_FALSE(enrols(late));
	EXPECT_EQ(refused(), "3\n");
	depart(*tasks[0]);
	EXPECT_EQ(sim::Platform::references(*tasks[0]), 1) << "it is listed already";
	EXPECT_EQ(refused(), "3\n");
	EXPECT_EQ(read_proc(), "");
	for (const sim::Task *task : tasks)
		EXPECT_EQ(sim::Platform::references(*task), 0);
	EXPECT_TRUE(enrols(late));
	EXPECT_TRUE(enrols(*tasks[0]));
}

TEST_F(SvpEnrolment, each_collected_task_makes_room_for_another)
{
	fill_the_list();
	for (int round = 0; round < 2; round++) {
		EXPECT_EQ(read_proc(), "");
		for (sim::Task *task : tasks)
			ASSERT_TRUE(enrols(*task));
		EXPECT_FALSE(enrols(kernel.platform.make_task({.pid = 9000 + round})));
	}
}

TEST_F(SvpEnrolment, tasks_that_have_exited_keep_their_places)
{
	fill_the_list();
	for (sim::Task *task : tasks)
		kernel.platform.exit(*task);
	sim::Task &late = kernel.platform.make_task({.pid = 9000});
	EXPECT_FALSE(enrols(late));
	EXPECT_EQ(kernel.platform.tasks(), static_cast<size_t>(kMostEnrolled) + 1);
	EXPECT_EQ(read_proc(), "");
	EXPECT_EQ(kernel.platform.tasks(), 1U);
	EXPECT_TRUE(enrols(late));
}

TEST_F(SvpEnrolment, reference_is_taken_before_the_task_is_on_the_list)
{
	sim::Task &task = kernel.platform.make_task();
	kernel.faults.at("get_task_struct", [&] { EXPECT_EQ(listed(), nullptr); });
	EXPECT_TRUE(enrols(task));
	EXPECT_NE(listed(), nullptr);
}

TEST_F(SvpEnrolment, task_that_was_given_up_may_enrol_before_its_reference_is_put)
{
	sim::Task &task = enrolled();
	kernel.faults.at("put_task_struct", [&] {
		kernel.scheduler.meanwhile_on_cpu(3, [&] { depart(task); });
		EXPECT_EQ(sim::Platform::references(task), 2);
	});
	EXPECT_THAT(collect_pids(), ElementsAre(1000));
	EXPECT_EQ(sim::Platform::references(task), 1);
	EXPECT_THAT(collect_pids(), ElementsAre(1000));
}

TEST_F(SvpEnrolment, with_nobody_enrolled_no_lock_is_taken)
{
	bool locked = false;
	kernel.faults.at("mutex_lock", [&] { locked = true; });
	EXPECT_EQ(read_proc(), "");
	EXPECT_FALSE(locked);
	/* Checks that the fault works. */
	static_cast<void>(enrolled());
	EXPECT_NE(read_proc(), "");
	EXPECT_TRUE(locked);
}

/* In the middle of another collection, that of a trigger. */
TEST_F(SvpEnrolment, collector_with_nobody_enrolled_does_not_wait_for_another)
{
	static_cast<void>(enrolled());
	std::unique_ptr<sim::Thread> reader;
	std::string text = "not read";
	kernel.faults.at("put_task_struct", [&] {
		reader = std::make_unique<sim::Thread>(
			kernel.spawn("reader", [&] { text = read_proc(); }));
		kernel.run_until_idle();
		EXPECT_TRUE(reader->ended());
	});
	EXPECT_THAT(collect_pids(), ElementsAre(1000));
	reader->join();
	EXPECT_EQ(text, "");
}

TEST_F(SvpEnrolment, collector_waits_for_another_when_somebody_enrols)
{
	static_cast<void>(enrolled({.pid = 1}));
	sim::Task &other = kernel.platform.make_task({.pid = 2});
	static_cast<void>(kernel.platform.stats(other));
	std::unique_ptr<sim::Thread> reader;
	std::string text = "not read";
	kernel.faults.at("put_task_struct", [&] {
		kernel.scheduler.meanwhile_on_cpu(3, [&] { depart(other); });
		reader = std::make_unique<sim::Thread>(
			kernel.spawn("reader", [&] { text = read_proc(); }));
		kernel.run_until_idle();
		EXPECT_FALSE(reader->ended());
	});
	EXPECT_THAT(collect_pids(), ElementsAre(1));
	reader->join();
	EXPECT_THAT(pids_in(text), ElementsAre(2));
}

} /* namespace test */
