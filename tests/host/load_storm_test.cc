// SPDX-License-Identifier: GPL-2.0
/*
 * The feed and the probes run on every CPU, while a trigger's writer and readers of all views
 * sample, sums are restarted, switches change, groups are created and removed, and tasks exit.
 * Meant for ThreadSanitizer.
 */
#include <atomic>
#include <chrono>
#include <thread>

#include "host/load_fixture.h"

namespace test {

using namespace std::chrono_literals;

namespace {

constexpr unsigned int kCpus = 8;
constexpr int kProcesses = 12;

} /* namespace */

class LoadStorm : public UnloadedTest {
protected:
	LoadStorm() : UnloadedTest({.mode = sim::Mode::kFreeRunning, .cpus = kCpus})
	{
		load();
		/* The probes search for a foreground group until there is one. */
		kernel.cgroups.set(2, "background");
		EXPECT_EQ(kernel.proc.write("load_metrics/load_metrics_report", "1"), 1);
		EXPECT_EQ(store("cgroup_interval", "1"), 1);
		for (int i = 0; i < kProcesses; i++) {
			sim::Task &leader = kernel.platform.make_task({.pid = 100 + 10 * i});
			sim::Platform::set_package(leader, "com.example");
			tasks.push_back(&leader);
			tasks.push_back(&kernel.platform.make_task(
				{.pid = 101 + 10 * i, .leader = &leader}));
		}
	}

	void run_tasks(unsigned int cpu, int rounds)
	{
		for (int round = 0; round < rounds; round++) {
			sim::Task &task = *tasks[(cpu * 5 + round) % tasks.size()];
			kernel.load.ran(task, cpu / 4, 1000);
			task.fields.sum_exec_runtime.fetch_add(1000, std::memory_order_relaxed);
			__atomic_fetch_add(&task.record.counter_a[cpu / 4], 1000, __ATOMIC_RELAXED);
			__atomic_fetch_add(&task.record.counter_d[cpu / 4], 1000, __ATOMIC_RELAXED);
			kernel.hooks.sched_stat_wait(&task, 1);
			kernel.hooks.sched_stat_blocked(&task, 1);
			if (round % 16 == 0)
				std::this_thread::sleep_for(50us);
		}
	}

	/* Runs until the readers and the collector have seen some tasks, however slow they are. */
	void run_while_they_are_seen(unsigned int cpu)
	{
		do
			run_tasks(cpu, 800);
		while (!shown || !uploads);
	}

	void fork_and_exit()
	{
		for (int i = 0; i < 200; i++) {
			sim::Task &task = kernel.platform.make_task({.pid = 5000 + i});
			sim::Task &thread =
				kernel.platform.make_task({.pid = 7000 + i, .leader = &task});
			sim::Platform::set_package(task, "com.short.lived");
			kernel.load.ran(task, 0, 1'000'000'000);
			kernel.load.ran(thread, 0, 1'000'000'000);
			std::this_thread::sleep_for(200us);
			kernel.platform.exit(thread);
			kernel.platform.exit(task);
		}
	}

	/* Reads in small pieces, so that changes occur between them. */
	void read_views()
	{
		while (!stops) {
			sim::OpenFile file = kernel.proc.open("load_metrics/load_metrics");
			check(file.read_all(200).data);
			EXPECT_GT(kernel.proc.read("cgroup_metrics/cgroup_metrics").result, 0);
			EXPECT_GT(
				kernel.proc.read("morva_sched_healthinfo/sched_healthinfo").result,
				0);
			std::this_thread::sleep_for(200us);
		}
	}

	void check(const std::string &text)
	{
		EXPECT_TRUE(text.starts_with("time: ")) << text;
		EXPECT_TRUE(text.ends_with("\n")) << text;
		EXPECT_EQ(text.find("time: ", 1), std::string::npos) << text;
		for (size_t at = 0; (at = text.find("\npid:", at)) != std::string::npos; at++) {
			const std::string line = text.substr(at + 1, text.find('\n', at + 1) - at);
			shown++;
			EXPECT_NE(line.find("%) "), std::string::npos) << line;
		}
	}

	void collect()
	{
		while (!stops) {
			kernel.clock.step_monotonic_ns(1'000'000);
			EXPECT_EQ(store("trigger", "1"), 1);
			uploads++;
			hand_back();
			std::this_thread::sleep_for(300us);
		}
	}

	void restart()
	{
		const std::string health = "morva_sched_healthinfo/sched_healthinfo_enable";
		for (int i = 0; i < 30; i++) {
			EXPECT_EQ(kernel.proc.write(health, i % 3 == 1 ? "0" : "1"), 1);
			EXPECT_EQ(kernel.proc.write("load_metrics/load_metrics_enabled",
						    i % 2 == 0 ? "0" : "1"),
				  1);
			EXPECT_EQ(kernel.proc.write("load_metrics/thread_metrics_enabled",
						    i % 2 == 0 ? "1" : "0"),
				  1);
			std::this_thread::sleep_for(1ms);
		}
	}

	void rename_groups()
	{
		for (int i = 0; i < 100; i++) {
			kernel.cgroups.set(2, i % 2 == 0 ? "top-app" : "background");
			kernel.cgroups.set(3, i % 2 == 0 ? "x" : "system-background");
			if (i % 10 == 9)
				kernel.cgroups.remove(3);
			std::this_thread::sleep_for(200us);
		}
		kernel.cgroups.set(3, "foreground");
		kernel.cgroups.set(2, "background");
	}

	/* Does not wait for a reader that does not exist. */
	template <typename Storm>
	void with_running_clock(Storm storm)
	{
		std::atomic<bool> ended{false};
		sim::Thread clock = kernel.spawn("clock", [&] {
			while (!ended) {
				kernel.advance(50);
				std::this_thread::sleep_for(1ms);
			}
		});
		storm();
		unload();
		ended = true;
		clock.join();
		for (const sim::LogLine &line : log())
			EXPECT_TRUE(is_expected(line.text)) << line;
	}

	[[nodiscard]] static bool is_expected(const std::string &text)
	{
		for (const char *start : {"read data timeout", "root 1\n", "foreground ",
					  "background ", "top ", "sysbg "})
			if (text.starts_with(start))
				return true;
		return false;
	}

	std::vector<sim::Task *> tasks;
	std::atomic<bool> stops{false};
	std::atomic<unsigned int> shown{0};
	std::atomic<unsigned int> uploads{0};
};

TEST_F(LoadStorm, concurrent_use_of_everything_is_consistent)
{
	with_running_clock([this] {
		sim::Thread reader = kernel.spawn("reader", [this] { read_views(); });
		sim::Thread other = kernel.spawn("other reader", [this] { read_views(); });
		sim::Thread collector = kernel.spawn("collector", [this] { collect(); });
		{
			std::vector<sim::Thread> threads;
			for (unsigned int cpu = 0; cpu < kCpus; cpu++)
				threads.push_back(kernel.spawn(
					"cpu", [=, this] { run_while_they_are_seen(cpu); }, cpu));
			threads.push_back(kernel.spawn("forks", [this] { fork_and_exit(); }));
			threads.push_back(kernel.spawn("restarts", [this] { restart(); }));
			threads.push_back(kernel.spawn("groups", [this] { rename_groups(); }));
		}
		stops = true;
	});
	EXPECT_EQ(kernel.platform.tasks(), tasks.size());
	for (const sim::Task *task : tasks)
		EXPECT_EQ(sim::Platform::references(*task), 0);
}

/* Without restarts, the final sums contain everything that was added. */
TEST_F(LoadStorm, sums_and_accumulators_of_all_cpus_are_complete)
{
	constexpr int kRounds = 1500;
	with_running_clock([this] {
		sim::Thread reader = kernel.spawn("reader", [this] {
			while (!stops) {
				EXPECT_GT(kernel.proc
						  .read("morva_sched_healthinfo/sched_healthinfo")
						  .result,
					  0);
				std::this_thread::sleep_for(200us);
			}
		});
		{
			std::vector<sim::Thread> threads;
			for (unsigned int cpu = 0; cpu < kCpus; cpu++)
				threads.push_back(kernel.spawn(
					"cpu", [=, this] { run_tasks(cpu, kRounds); }, cpu));
		}
		stops = true;
		u64 total[7][3]{};
		EXPECT_EQ(inside().add_health_sums(&total[0][0]), 1);
		EXPECT_EQ(total[0][0], u64{kCpus} * kRounds);
		EXPECT_EQ(total[0][2], u64{kCpus} * kRounds);
		EXPECT_EQ(total[1][0], u64{kCpus} * kRounds);
		u64 accumulated = 0;
		for (sim::Task *task : tasks)
			accumulated += sim::Platform::load_block(*task)[kAccumulator];
		EXPECT_EQ(accumulated, 1000 * kRounds * kCpus / 2 * (kSmallScale + kBigScale));
	});
}

} /* namespace test */
