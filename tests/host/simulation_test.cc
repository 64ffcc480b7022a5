// SPDX-License-Identifier: GPL-2.0
/* The simulated kernel: its rules are the kernel's, and its checks can fail. */
#include <cerrno>
#include <cstring>

#include "host/fixture.h"
#include "kernel/api/completion.h"
#include "kernel/api/kthread.h"
#include "kernel/api/mutex.h"
#include "kernel/api/printk.h"
#include "kernel/api/ring_buffer.h"
#include "kernel/api/slab.h"
#include "kernel/api/sysfs.h"
#include "kernel/api/time.h"
#include "kernel/opaque.h"

namespace test {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Simulation : public UnloadedTest {
protected:
	/* Takes the problem that the previous action has caused, so that the test continues without
	 * it. */
	void expect_problem(const std::string &text)
	{
		EXPECT_THAT(kernel.problems.take(), Contains(HasSubstr(text)));
	}
};

using SimulationDeathTest = Simulation;

TEST_F(Simulation, leaks_are_noticed)
{
	void *memory = helper_kzalloc(100);
	kobject *kobj = kobject_create_and_add("left", nullptr);
	trace_buffer *buffer = helper_ring_buffer_alloc_overwrite(8192);
	task_struct *task = helper_kthread_create([](void *) { return 0; }, nullptr, "left");
	kernel.check_leftovers();
	EXPECT_THAT(kernel.problems.take(), ::testing::SizeIs(4));
	kfree(memory);
	kobject_put(kobj);
	ring_buffer_free(buffer);
	EXPECT_EQ(kthread_stop(task), -EINTR);
}

TEST_F(Simulation, double_free_is_noticed)
{
	void *memory = helper_kzalloc(8192);
	EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % 8192, 0U);
	kfree(memory);
	kfree(memory);
	expect_problem("kfree");
}

TEST_F(Simulation, reservation_that_stays_open_is_noticed)
{
	trace_buffer *buffer = helper_ring_buffer_alloc_overwrite(8192);
	ring_buffer_event *event = ring_buffer_lock_reserve(buffer, 8);
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 1);
	msleep(1);
	expect_problem("msleep in atomic context");
	ring_buffer_discard_commit(buffer, event);
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 0);
	ring_buffer_unlock_commit(buffer);
	expect_problem("without a reservation");
	ring_buffer_free(buffer);
}

TEST_F(Simulation, ring_buffer_events_are_aligned_to_4_bytes_and_no_better)
{
	trace_buffer *buffer = helper_ring_buffer_alloc_overwrite(8192);
	ring_buffer_event *event = ring_buffer_lock_reserve(buffer, 8);
	EXPECT_EQ(reinterpret_cast<uintptr_t>(ring_buffer_event_data(event)) % 8, 4U);
	ring_buffer_unlock_commit(buffer);
	ring_buffer_free(buffer);
}

TEST_F(Simulation, nested_event_is_read_only_after_the_outer_is_committed)
{
	trace_buffer *buffer = helper_ring_buffer_alloc_overwrite(8192);
	ring_buffer_event *outer = ring_buffer_lock_reserve(buffer, 8);
	ASSERT_NE(outer, nullptr);
	kernel.interrupt([&] {
		ASSERT_NE(ring_buffer_lock_reserve(buffer, 8), nullptr);
		ring_buffer_unlock_commit(buffer);
	});
	EXPECT_EQ(ring_buffer_entries_cpu(buffer, 0), 1U);
	EXPECT_EQ(ring_buffer_consume(buffer, 0, nullptr, nullptr), nullptr);
	ring_buffer_unlock_commit(buffer);
	EXPECT_EQ(ring_buffer_consume(buffer, 0, nullptr, nullptr), outer);
	EXPECT_NE(ring_buffer_consume(buffer, 0, nullptr, nullptr), nullptr);
	EXPECT_EQ(ring_buffer_consume(buffer, 0, nullptr, nullptr), nullptr);
	ring_buffer_free(buffer);
}

TEST_F(Simulation, ring_buffer_refuses_what_a_sub_buffer_cannot_hold)
{
	trace_buffer *buffer = helper_ring_buffer_alloc_overwrite(8192);
	EXPECT_EQ(ring_buffer_lock_reserve(buffer, 4073), nullptr);
	EXPECT_EQ(ring_buffer_lock_reserve(buffer, static_cast<unsigned long>(-1)), nullptr);
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 0);
	EXPECT_NE(ring_buffer_lock_reserve(buffer, 4072), nullptr);
	ring_buffer_unlock_commit(buffer);
	ring_buffer_free(buffer);
}

TEST_F(Simulation, group_left_behind_by_its_directory_is_noticed)
{
	attribute_group group{};
	attribute *list[2]{};
	kobj_attribute attributes[1]{};
	const attribute_row rows[] = {{"file", 0644, nullptr, nullptr}};
	helper_attribute_group_init(&group, list, attributes, rows, 1);
	kobject *kobj = kobject_create_and_add("directory", nullptr);
	EXPECT_EQ(sysfs_create_group(kobj, &group), 0);
	EXPECT_EQ(kernel.sysfs.read("directory/file").result, -EIO);
	EXPECT_EQ(kernel.sysfs.write("directory/file", "x"), -EIO);
	EXPECT_EQ(kernel.sysfs.read("directory/none").result, -ENOENT);
	kobject_put(kobj);
	expect_problem("before its group was removed");
}

TEST_F(Simulation, completion_counts_and_times_out_in_virtual_time)
{
	completion done{};
	helper_init_completion(&done);
	EXPECT_EQ(wait_for_completion_timeout(&done, 100), 0U);
	EXPECT_EQ(kernel.clock.ticks(), 100U);
	complete(&done);
	complete(&done);
	EXPECT_EQ(wait_for_completion_timeout(&done, 100), 100U);
	helper_reinit_completion(&done);
	EXPECT_EQ(wait_for_completion_timeout(&done, 1), 0U);
}

TEST_F(Simulation, mutex_holds_the_second_up)
{
	mutex lock{};
	helper_mutex_init(&lock, "lock", nullptr);
	helper_mutex_lock(&lock);
	bool in = false;
	sim::Thread second = kernel.spawn("second", [&] {
		helper_mutex_lock(&lock);
		in = true;
		helper_mutex_unlock(&lock);
	});
	kernel.run_for(1000);
	EXPECT_FALSE(in);
	helper_mutex_unlock(&lock);
	second.join();
	EXPECT_TRUE(in);
	helper_mutex_unlock(&lock);
	expect_problem("by another task");
}

TEST_F(SimulationDeathTest, deadlock_ends_the_process_and_lists_the_waits)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	completion never{};
	helper_init_completion(&never);
	mutex lock{};
	helper_mutex_init(&lock, "lock", nullptr);
	EXPECT_EXIT(
		{
			helper_mutex_lock(&lock);
			sim::Thread second =
				kernel.spawn("second", [&] { helper_mutex_lock(&lock); });
			helper_wait_for_completion_idle(&never);
		},
		::testing::ExitedWithCode(1),
		"every task waits for ever\n.*test.*completion.*\n"
		".*second.*mutex lock");
}

TEST_F(SimulationDeathTest, completion_that_was_not_initialised_ends_the_process)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	completion raw{};
	EXPECT_EXIT(complete(&raw), ::testing::ExitedWithCode(1), "not initialised");
}

TEST_F(Simulation, log_keeps_level_and_text)
{
	_printk("\0013number %d\n", 5);
	EXPECT_EQ(log(), LogLines({sim::err("number 5\n")}));
}

TEST_F(Simulation, failures_occur_at_the_named_call)
{
	kernel.faults.fail("kzalloc", 2);
	void *first = helper_kzalloc(1);
	EXPECT_NE(first, nullptr);
	EXPECT_FALSE(kernel.faults.all_happened());
	EXPECT_EQ(helper_kzalloc(1), nullptr);
	EXPECT_TRUE(kernel.faults.all_happened());
	kernel.faults.fail_from("kzalloc");
	EXPECT_EQ(helper_kzalloc(1), nullptr);
	EXPECT_EQ(helper_kzalloc(1), nullptr);
	kfree(first);
}

} /* namespace test */
