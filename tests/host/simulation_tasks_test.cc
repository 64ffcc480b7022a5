// SPDX-License-Identifier: GPL-2.0
/*
 * The simulated kernel's tasks, scheduler and interrupts: their rules are the kernel's, and their
 * checks can fail.
 */
#include "host/fixture.h"
#include "kernel/api/cgroup.h"
#include "kernel/api/irq_work.h"
#include "kernel/api/printk.h"
#include "kernel/api/rcu.h"
#include "kernel/api/spinlock.h"
#include "kernel/api/task.h"
#include "kernel/api/time.h"
#include "kernel/api/topology.h"
#include "kernel/opaque.h"

namespace test {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SimulatedTasks : public UnloadedTest {
protected:
	/* Takes the problem that the previous action has caused, so that the test continues without
	 * it. */
	void expect_problem(const std::string &text)
	{
		EXPECT_THAT(kernel.problems.take(), Contains(HasSubstr(text)));
	}

	/* Returns the pids in the order of a walk over the processes. */
	[[nodiscard]] std::vector<int> processes()
	{
		std::vector<int> pids;
		helper_rcu_read_lock();
		task_struct *const initial = helper_initial_task();
		for (task_struct *task = helper_next_process(initial); task != initial;
		     task = helper_next_process(task))
			pids.push_back(task->fields.pid);
		helper_rcu_read_unlock();
		return pids;
	}

	[[nodiscard]] std::vector<int> threads(sim::Task &process)
	{
		std::vector<int> pids;
		helper_rcu_read_lock();
		for (task_struct *task = helper_first_thread(&process); task;
		     task = helper_next_thread(task))
			pids.push_back(task->fields.pid);
		helper_rcu_read_unlock();
		return pids;
	}
};

TEST_F(SimulatedTasks, lists_have_the_tasks_in_the_order_of_their_making)
{
	EXPECT_THAT(processes(), IsEmpty());
	sim::Task &first = kernel.platform.make_task({.pid = 5});
	sim::Task &second = kernel.platform.make_task({.pid = 3});
	sim::Task &thread = kernel.platform.make_task({.pid = 4, .leader = &first});
	EXPECT_THAT(processes(), ElementsAre(5, 3));
	EXPECT_THAT(threads(first), ElementsAre(5, 4));
	EXPECT_THAT(threads(second), ElementsAre(3));
	EXPECT_THAT(threads(kernel.platform.initial_task()), ElementsAre(0));
	kernel.platform.exit(thread);
	kernel.platform.exit(first);
	EXPECT_THAT(processes(), ElementsAre(3));
}

TEST_F(SimulatedTasks, task_that_was_taken_off_leads_on_as_long_as_it_is_there)
{
	sim::Task &first = kernel.platform.make_task({.pid = 1});
	sim::Task &second = kernel.platform.make_task({.pid = 2});
	helper_rcu_read_lock();
	kernel.scheduler.meanwhile_on_cpu(1, [&] { kernel.platform.exit(first); });
	EXPECT_EQ(helper_next_process(&first), &second);
	EXPECT_EQ(helper_next_thread(&first), nullptr);
	EXPECT_EQ(helper_find_task(1), nullptr);
	EXPECT_EQ(helper_find_task(2), &second);
	EXPECT_EQ(kernel.platform.tasks(), 1U);
	helper_rcu_read_unlock();
	EXPECT_THAT(processes(), ElementsAre(2));
}

TEST_F(SimulatedTasks, walks_and_groups_without_an_rcu_section_are_noticed)
{
	sim::Task &task = kernel.platform.make_task();
	EXPECT_EQ(helper_initial_task(), &kernel.platform.initial_task());
	expect_problem("outside of rcu_read_lock");
	static_cast<void>(helper_next_process(&task));
	expect_problem("next_task outside");
	static_cast<void>(helper_first_thread(&task));
	expect_problem("first thread outside");
	static_cast<void>(helper_next_thread(&task));
	expect_problem("next thread outside");
	static_cast<void>(helper_find_task(1));
	expect_problem("find_task outside");
	static_cast<void>(platform_task_ext(&task));
	expect_problem("record of a task outside");
	static_cast<void>(helper_task_cpu_css_id(&task));
	expect_problem("css of a task outside");
	static_cast<void>(platform_cpu_css_from_id(2));
	expect_problem("css_from_id outside");
}

TEST_F(SimulatedTasks, thread_is_no_process)
{
	sim::Task &leader = kernel.platform.make_task({.pid = 1});
	sim::Task &thread = kernel.platform.make_task({.pid = 2, .leader = &leader});
	helper_rcu_read_lock();
	static_cast<void>(helper_next_process(&thread));
	helper_rcu_read_unlock();
	expect_problem("which is no process");
}

TEST_F(SimulatedTasks, group_that_is_renamed_has_its_new_name_for_all_readers)
{
	char name[8] = "";
	kernel.cgroups.set(2, "before");
	kernel.cgroups.set(3, {});
	helper_rcu_read_lock();
	cgroup_subsys_state *css = platform_cpu_css_from_id(2);
	EXPECT_TRUE(helper_css_name(css, name, sizeof(name)));
	EXPECT_STREQ(name, "before");
	kernel.scheduler.meanwhile_on_cpu(1, [&] { kernel.cgroups.set(2, "so long a name"); });
	EXPECT_TRUE(helper_css_name(css, name, sizeof(name)));
	EXPECT_STREQ(name, "so long") << "cut to the room that there is";
	EXPECT_EQ(platform_cpu_css_from_id(2), css);
	EXPECT_FALSE(helper_css_name(platform_cpu_css_from_id(3), name, sizeof(name)));
	EXPECT_EQ(platform_cpu_css_from_id(4), nullptr);
	kernel.under_run_queue_lock([&] { EXPECT_TRUE(helper_css_name(css, name, sizeof(name))); });
	expect_problem("under a run-queue lock");
	helper_rcu_read_unlock();
	EXPECT_TRUE(helper_css_name(css, name, sizeof(name)));
	expect_problem("name of a css outside");
}

TEST_F(SimulatedTasks, record_of_a_task_that_has_exited_goes_before_the_task)
{
	sim::Task &task = kernel.platform.make_task();
	kernel.platform.stats(task).read_bytes = 1;
	helper_get_task_struct(&task);
	helper_rcu_read_lock();
	task.record.node.next = nullptr;
	kernel.platform.exit(task);
	EXPECT_EQ(platform_task_ext(&task), &task.record) << "it is listed";
	task.record.node.next = TASK_EXT_UNLISTED;
	kernel.platform.free_records();
	EXPECT_EQ(platform_task_ext(&task), nullptr);
	EXPECT_FALSE(task.listed());
	EXPECT_EQ(kernel.slab.allocations(), 1U) << "a reader may still see it";
	helper_rcu_read_unlock();
	EXPECT_EQ(kernel.slab.allocations(), 0U);
	EXPECT_EQ(kernel.platform.tasks(), 1U);
	helper_put_task_struct(&task);
	EXPECT_EQ(kernel.platform.tasks(), 0U);
}

TEST_F(SimulatedTasks, no_task_is_not_asked_for_its_standing)
{
	static_cast<void>(test_task_svp(nullptr));
	EXPECT_THAT(kernel.problems.take(), IsEmpty());
	static_cast<void>(test_task_orig_svp(nullptr));
	expect_problem("test_task_orig_svp of no task");
}

class SimulatedInterrupts : public SimulatedTasks {};
using SimulatedInterruptsDeathTest = SimulatedInterrupts;

TEST_F(SimulatedInterrupts, raw_lock_with_interrupts_on_is_noticed)
{
	raw_spinlock lock{};
	helper_raw_spin_lock_init(&lock, "raw", nullptr);
	helper_raw_spin_lock(&lock);
	helper_raw_spin_unlock(&lock);
	expect_problem("raw_spin_lock of raw with interrupts on");
	kernel.under_run_queue_lock([&] {
		helper_raw_spin_lock(&lock);
		helper_raw_spin_unlock(&lock);
	});
	kernel.interrupt([&] {
		helper_raw_spin_lock(&lock);
		helper_raw_spin_unlock(&lock);
	});
	const unsigned long flags = helper_raw_spin_lock_irqsave(&lock);
	helper_raw_spin_unlock_irqrestore(&lock, flags);
	EXPECT_THAT(kernel.problems.take(), IsEmpty());
	helper_raw_spin_unlock(&lock);
	expect_problem("by another task");
}

TEST_F(SimulatedInterrupts, states_are_restored_in_their_order)
{
	raw_spinlock outer{};
	raw_spinlock inner{};
	helper_raw_spin_lock_init(&outer, "outer", nullptr);
	helper_raw_spin_lock_init(&inner, "inner", nullptr);
	const unsigned long first = helper_raw_spin_lock_irqsave(&outer);
	const unsigned long second = helper_raw_spin_lock_irqsave(&inner);
	msleep(1);
	expect_problem("msleep in atomic context");
	helper_raw_spin_unlock_irqrestore(&inner, first);
	expect_problem("to another state");
	helper_raw_spin_unlock_irqrestore(&outer, second);
	expect_problem("to another state");
	kernel.under_run_queue_lock([] { msleep(1); });
	expect_problem("msleep in atomic context");
}

TEST_F(SimulatedInterruptsDeathTest, lock_that_is_taken_twice_ends_the_process)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	raw_spinlock raw{};
	helper_raw_spin_lock_init(&raw, "raw", nullptr);
	spinlock plain{};
	helper_spin_lock_init(&plain, "plain", nullptr);
	EXPECT_EXIT(
		{
			static_cast<void>(helper_raw_spin_lock_irqsave(&raw));
			helper_raw_spin_lock(&raw);
		},
		::testing::ExitedWithCode(1), "raw_spin_lock of raw by its owner");
	EXPECT_EXIT(
		{
			helper_spin_lock(&plain);
			helper_spin_lock(&plain);
		},
		::testing::ExitedWithCode(1), "spin_lock of plain by its owner");
	raw_spinlock uninitialised{};
	EXPECT_EXIT(helper_raw_spin_lock(&uninitialised), ::testing::ExitedWithCode(1),
		    "not initialised");
}

TEST_F(SimulatedInterrupts, what_may_not_be_under_a_run_queue_lock_is_noticed)
{
	sim::Task &task = kernel.platform.make_task();
	spinlock lock{};
	helper_spin_lock_init(&lock, "plain", nullptr);
	kernel.under_run_queue_lock([&] { _printk("\0016text\n"); });
	expect_problem("printk under a run-queue lock");
	EXPECT_EQ(log(), LogLines({sim::info("text\n")}));
	kernel.under_run_queue_lock([&] {
		helper_spin_lock(&lock);
		helper_spin_unlock(&lock);
	});
	expect_problem("spin_lock under a run-queue lock");
	char comm[16];
	kernel.under_run_queue_lock([&] { helper_task_comm(&task, comm); });
	expect_problem("get_task_comm with interrupts off");
	u64 counter[2];
	kernel.interrupt([&] { EXPECT_EQ(morva_amu_read(0, 0, counter), 0); });
	expect_problem("morva_amu_read with interrupts off");
	EXPECT_EQ(morva_amu_read(0, 1, counter), 0);
	expect_problem("something else than activity");
}

TEST_F(SimulatedInterrupts, irq_work_comes_when_interrupts_are_on_again_and_once)
{
	static int runs;
	static sim::Context context;
	runs = 0;
	irq_work work{};
	helper_irq_work_init(&work, [](irq_work *) {
		runs++;
		context = sim::Scheduler::current().context;
	});
	kernel.under_run_queue_lock([&] {
		EXPECT_TRUE(irq_work_queue(&work));
		EXPECT_FALSE(irq_work_queue(&work));
		EXPECT_EQ(runs, 0);
	});
	EXPECT_EQ(runs, 1);
	EXPECT_EQ(context, sim::Context::kInterrupt);
	EXPECT_TRUE(irq_work_queue(&work));
	EXPECT_EQ(runs, 2) << "at once, where interrupts are on";
	kernel.irq_works.hold();
	EXPECT_TRUE(irq_work_queue(&work));
	EXPECT_EQ(runs, 2);
	irq_work_sync(&work);
	EXPECT_EQ(runs, 3);
	EXPECT_EQ(kernel.irq_works.pending(), 0U);
}

TEST_F(SimulatedInterrupts, irq_work_that_may_be_queued_again_while_it_runs)
{
	static int runs;
	static irq_work work;
	runs = 0;
	helper_irq_work_init(&work, [](irq_work *self) {
		if (++runs < 3) {
			EXPECT_TRUE(irq_work_queue(self));
		}
	});
	EXPECT_TRUE(irq_work_queue(&work));
	EXPECT_EQ(runs, 3);
}

TEST_F(SimulatedInterrupts, irq_work_left_when_its_code_goes_is_noticed)
{
	irq_work work{};
	helper_irq_work_init(&work, [](irq_work *) {});
	kernel.irq_works.hold();
	EXPECT_TRUE(irq_work_queue(&work));
	kernel.irq_works.forget();
	expect_problem("irq work is pending");
	EXPECT_EQ(kernel.irq_works.release(), 1U);
}

TEST_F(SimulatedInterrupts, load_feed_has_one_listener)
{
	const auto listener = [](task_struct *, u32, u64) {
	};
	register_load_stat_proc_runtime(listener);
	register_load_stat_proc_runtime(listener);
	expect_problem("a second listener");
	unregister_load_stat_proc_runtime();
	unregister_load_stat_proc_runtime();
	expect_problem("nobody listens");
}

TEST_F(SimulatedInterrupts, monotonic_time_goes_its_own_way)
{
	const s64 start = ktime_get();
	kernel.clock.step_monotonic_ns(3);
	EXPECT_EQ(ktime_get(), start + 3);
	kernel.clock.step_realtime_ns(1'000'000);
	EXPECT_EQ(ktime_get(), start + 3);
	const int64_t realtime = kernel.clock.realtime_ns();
	kernel.clock.step_monotonic_ns(-3);
	EXPECT_EQ(kernel.clock.realtime_ns(), realtime);
	kernel.run_for(1);
	EXPECT_EQ(ktime_get(), start + 4'000'000);
}

TEST_F(SimulatedInterrupts, packages_are_four_cpus_each_unless_told)
{
	EXPECT_EQ(helper_cpu_package(3), 0U);
	EXPECT_EQ(helper_cpu_package(4), 1U);
	kernel.cpus.set_package(4, 9);
	EXPECT_EQ(helper_cpu_package(4), 9U);
}

} /* namespace test */
