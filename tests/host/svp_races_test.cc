// SPDX-License-Identifier: GPL-2.0
/*
 * Races of enrolment, collection and unloading. Threads meet at the critical point through flags
 * that do not order anything else. Also meant for ThreadSanitizer.
 */
#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "host/fixture.h"

namespace test {

namespace {

/* Set by one thread and awaited by another, without ordering their other accesses. */
class Flag {
public:
	void set() { set_.store(true, std::memory_order_relaxed); }

	void await() const
	{
		while (!set_.load(std::memory_order_relaxed))
			std::this_thread::yield();
	}

private:
	std::atomic<bool> set_{false};
};

} /* namespace */

class SvpRaces : public UnloadedTest {
protected:
	SvpRaces() : UnloadedTest({.mode = sim::Mode::kFreeRunning}) { load(); }

	[[nodiscard]] std::string read()
	{
		return kernel.proc.read("svp_metrics/svp_metrics").data;
	}
};

TEST_F(SvpRaces, as_many_tasks_enrol_from_two_cpus_as_may_be)
{
	constexpr size_t kMostEnrolled = 8192;
	std::vector<sim::Task *> tasks;
	for (size_t i = 0; i < kMostEnrolled + 100; i++)
		tasks.push_back(&kernel.platform.make_task({.pid = static_cast<int>(i) + 1}));
	std::atomic<int> arrivals{0};
	const auto depart = [&](size_t first) {
		arrivals++;
		while (arrivals < 2)
			std::this_thread::yield();
		for (size_t i = first; i < tasks.size(); i += 2)
			kernel.hooks.sched_info_depart(tasks[i], 1);
	};
	for (int round = 0; round < 5; round++) {
		arrivals = 0;
		{
			sim::Thread even = kernel.spawn("even", [&] { depart(0); }, 0);
			sim::Thread odd = kernel.spawn("odd", [&] { depart(1); }, 1);
		}
		EXPECT_EQ(std::ranges::count_if(tasks, [](auto *task) { return task->listed(); }),
			  kMostEnrolled);
		EXPECT_EQ(read(), "");
	}
}

/* The platform may free the record afterwards. */
TEST_F(SvpRaces, record_is_not_touched_once_it_is_unlisted)
{
	sim::Task &task = kernel.platform.make_task();
	static_cast<void>(kernel.platform.stats(task));
	kernel.hooks.sched_info_depart(&task, 1);
	kernel.platform.exit(task);
	Flag unlisted;
	Flag freed;
	sim::Thread platform = kernel.spawn("platform", [&] {
		unlisted.await();
		kernel.platform.free_records();
		freed.set();
	});
	kernel.faults.at("put_task_struct", [&] {
		unlisted.set();
		freed.await();
	});
	EXPECT_NE(read(), "");
	platform.join();
	EXPECT_EQ(kernel.platform.tasks(), 0U);
}

/* The probe runs during its removal, until the grace period that unloading waits for. */
TEST_F(SvpRaces, task_that_enrols_while_its_probe_is_removed_is_released)
{
	sim::Task &task = kernel.platform.make_task();
	Flag departs;
	Flag removed;
	kernel.faults.at("get_task_struct", [&] {
		departs.set();
		removed.await();
	});
	sim::Thread cpu = kernel.spawn("cpu", [&] { kernel.hooks.sched_info_depart(&task, 1); });
	departs.await();
	kernel.faults.at("tracepoint_synchronize_unregister", [&] { removed.set(); });
	/* Without that wait the probe continues when the next family is shut down, and the test
	 * fails. */
	kernel.faults.at("unregister_load_stat_proc_runtime", [&] { removed.set(); });
	unload();
	cpu.join();
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_FALSE(task.listed());
}

} /* namespace test */
