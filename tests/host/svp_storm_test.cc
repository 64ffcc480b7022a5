// SPDX-License-Identifier: GPL-2.0
/*
 * Tasks run on every CPU, while a trigger's writer and a reader of the proc file collect them, the
 * switch changes, and some of the tasks exit. Meant for ThreadSanitizer.
 */
#include <atomic>
#include <chrono>
#include <thread>

#include "host/fixture.h"

namespace test {

using namespace std::chrono_literals;

class SvpStorm : public UnloadedTest {
protected:
	static constexpr unsigned int kCpus = 8;
	static constexpr unsigned int kTasks = 16;
	static constexpr int kRounds = 1500;

	SvpStorm() : UnloadedTest({.mode = sim::Mode::kFreeRunning, .cpus = kCpus})
	{
		load();
		for (int i = 0; i < static_cast<int>(kTasks); i++)
			tasks.push_back(&kernel.platform.make_task(
				{.pid = 100 + i, .comm = "task " + std::to_string(100 + i)}));
	}

	/*
	 * Several CPUs may run the same task concurrently, which a kernel does not do. They run
	 * until the reader has seen some tasks, however slow it is.
	 */
	void run_tasks(unsigned int cpu)
	{
		for (int round = 0; round < kRounds || shown <= kTasks; round++) {
			sim::Task *task = tasks[(cpu * 3 + round) % kTasks];
			kernel.hooks.rs_warn_set_svp_task(task);
			kernel.hooks.sched_info_dequeued(task, 10);
			kernel.hooks.sched_info_arrive(task, 20);
			kernel.hooks.sched_info_depart(task, 1000);
			kernel.hooks.task_d_state_dura_record(task, 30);
			kernel.hooks.irqtime_account_hardirq(40);
			if (round % 16 == 0)
				std::this_thread::sleep_for(50us);
		}
	}

	/* Each task runs once, and exits before or after it is collected. */
	void fork_and_exit()
	{
		for (int i = 0; i < 300; i++) {
			sim::Task &task = kernel.platform.make_task({.pid = 5000 + i});
			sim::Platform::set_package(task, "com.example");
			kernel.hooks.rs_warn_set_svp_task(&task);
			kernel.hooks.sched_info_depart(&task, 1000);
			kernel.platform.exit(task);
			std::this_thread::sleep_for(100us);
		}
	}

	void read_proc_file()
	{
		while (!stops) {
			check(kernel.proc.read("svp_metrics/svp_metrics").data);
			std::this_thread::sleep_for(300us);
		}
	}

	/* Checks a text that was formatted while the tasks ran: names and ids belong together. */
	void check(const std::string &text)
	{
		for (size_t at = 0; (at = text.find("\npid: 1", at)) != std::string::npos; at++) {
			const std::string pid = text.substr(at + 6, 3);
			shown++;
			EXPECT_EQ(text.substr(at + 10, 21), "thread_name: task " + pid);
		}
	}

	void collect()
	{
		while (!stops) {
			EXPECT_EQ(store("trigger", "1"), 1);
			hand_back();
			std::this_thread::sleep_for(500us);
		}
	}

	void toggle()
	{
		for (const char *file :
		     {"svp_metrics/svp_metrics_enabled", "sched_metrics/sched_metrics_enabled"})
			for (int i = 0; i < 6; i++) {
				EXPECT_EQ(kernel.proc.write(file, i % 2 == 0 ? "0" : "1"), 1);
				std::this_thread::sleep_for(2ms);
			}
	}

	std::vector<sim::Task *> tasks;
	std::atomic<bool> stops{false};
	std::atomic<unsigned int> shown{0};
};

TEST_F(SvpStorm, tasks_are_collected_whole_and_all_let_go)
{
	/* Does not wait for a reader that does not exist. */
	std::atomic<bool> ended{false};
	sim::Thread clock = kernel.spawn("clock", [&] {
		while (!ended) {
			kernel.advance(50);
			std::this_thread::sleep_for(1ms);
		}
	});
	{
		sim::Thread reader = kernel.spawn("reader", [this] { read_proc_file(); });
		sim::Thread collector = kernel.spawn("collector", [this] { collect(); });
		{
			std::vector<sim::Thread> threads;
			for (unsigned int cpu = 0; cpu < kCpus; cpu++)
				threads.push_back(
					kernel.spawn("cpu", [=, this] { run_tasks(cpu); }, cpu));
			threads.push_back(kernel.spawn("forks", [this] { fork_and_exit(); }));
			threads.push_back(kernel.spawn("switches", [this] { toggle(); }));
		}
		stops = true;
	}
	/* Without concurrency, every task is shown. */
	check(kernel.proc.read("svp_metrics/svp_metrics").data);
	for (sim::Task *task : tasks)
		kernel.hooks.sched_info_depart(task, 1000);
	shown = 0;
	check(kernel.proc.read("svp_metrics/svp_metrics").data);
	EXPECT_EQ(shown, kTasks);
	EXPECT_EQ(kernel.platform.tasks(), size_t{kTasks});
	for (const sim::Task *task : tasks)
		EXPECT_EQ(sim::Platform::references(*task), 0);
	unload();
	ended = true;
	clock.join();
	for (const sim::LogLine &line : log())
		EXPECT_TRUE(line.text.starts_with("read data timeout")) << line;
}

} /* namespace test */
