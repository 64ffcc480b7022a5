// SPDX-License-Identifier: GPL-2.0
/*
 * Races of enrolment, collection and unloading, each brought about where it matters: the threads
 * meet at one place, by flags that order nothing. Meant for ThreadSanitizer too.
 */
#include <atomic>
#include <thread>

#include "host/fixture.h"

namespace test {

namespace {

/* Set by one thread and awaited by another, without ordering what they do besides. */
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

/* As two CPUs can't have a task at once, this is more than a kernel does. */
TEST_F(SvpRaces, task_that_departs_from_two_cpus_is_listed_once)
{
	constexpr int kRounds = 3000;
	sim::Task &task = kernel.platform.make_task({.pid = 10'000});
	sim::Task *others[] = {&kernel.platform.make_task({.pid = 10'001}),
			       &kernel.platform.make_task({.pid = 10'002})};
	std::atomic<int> arrivals{0};
	/* Returns when both threads are here. */
	const auto meet = [&](int meeting) {
		arrivals++;
		while (arrivals < 2 * meeting)
			std::this_thread::yield();
	};
	const auto depart = [&](bool collects) {
		for (int meeting = 0; meeting < 3 * kRounds;) {
			meet(++meeting);
			kernel.hooks.sched_info_depart(&task, 1);
			kernel.hooks.sched_info_depart(others[collects], 1);
			meet(++meeting);
			if (collects) {
				EXPECT_EQ(sim::Platform::references(task), 1);
				EXPECT_EQ(read(), "");
			}
			meet(++meeting);
		}
	};
	sim::Thread first = kernel.spawn("first", [&] { depart(true); }, 0);
	sim::Thread second = kernel.spawn("second", [&] { depart(false); }, 1);
	first.join();
	second.join();
	EXPECT_EQ(sim::Platform::references(task), 0);

	/* No place for a task was lost, and there is none too many. */
	constexpr int kMostEnrolled = 8192;
	for (int pid = 1; pid <= kMostEnrolled + 1; pid++) {
		sim::Task &other = kernel.platform.make_task({.pid = pid});
		kernel.hooks.sched_info_depart(&other, 1);
		ASSERT_EQ(other.listed(), pid <= kMostEnrolled) << pid;
	}
	EXPECT_EQ(read(), "");
}

/* The platform may free the record from then on. */
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

/* It runs on while its probe is removed, until the grace period that unloading waits for. */
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
	/* Without that wait it goes on when the next family is taken down, and the test fails. */
	kernel.faults.at("unregister_load_stat_proc_runtime", [&] { removed.set(); });
	unload();
	cpu.join();
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_FALSE(task.listed());
}

} /* namespace test */
