// SPDX-License-Identifier: GPL-2.0
/* /proc/load_metrics: the switches, and the text of one read from start to end. */
#include <cerrno>

#include "host/load_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

constexpr const char *kSwitches[] = {"load_metrics_enabled", "load_metrics_report",
				     "thread_metrics_enabled"};

/* The line of eight idle CPUs. */
const std::string kIdleCpus = "cpu:0(0%) 0(0%) 0(0%) 0(0%) 0(0%) 0(0%) 0(0%) 0(0%) \n";

} /* namespace */

class LoadProc : public LoadTest {
protected:
	/* The initial state after load. */
	void SetUp() override
	{
		LoadTest::SetUp();
		set_switch("load_metrics_report", false);
	}

	/* Reads the view after a window of @ns. */
	void expect_view(u64 ns, const std::string &cpus, const std::string &lines)
	{
		const std::string text = read_view();
		EXPECT_EQ(text, "time: " + std::to_string(wallclock()) + " " + std::to_string(ns) +
					"\n" + cpus + lines);
	}
};

TEST_F(LoadProc, directory_has_three_switches_and_the_view)
{
	EXPECT_THAT(kernel.proc.list("load_metrics"),
		    ElementsAre(Pair("load_metrics_enabled", 0644),
				Pair("load_metrics_report", 0644),
				Pair("thread_metrics_enabled", 0644), Pair("load_metrics", 0444)));
	EXPECT_EQ(kernel.proc.write("load_metrics/load_metrics", "1"), -EIO);
}

class LoadProcAtLoad : public ZemTest {};

TEST_F(LoadProcAtLoad, accounting_is_on_and_the_others_are_off)
{
	EXPECT_EQ(kernel.proc.read("load_metrics/load_metrics_enabled").data, "1\n");
	EXPECT_EQ(kernel.proc.read("load_metrics/load_metrics_report").data, "0\n");
	EXPECT_EQ(kernel.proc.read("load_metrics/thread_metrics_enabled").data, "0\n");
	EXPECT_EQ(kernel.proc.read("cgroup_metrics/cgroup_metrics_enabled").data, "1\n");
}

TEST_F(LoadProc, each_switch_uses_only_the_first_byte_and_accepts_all)
{
	for (const char *name : kSwitches) {
		const std::string file = std::string("load_metrics/") + name;
		for (const std::string on : {"1", "1\n", "10", "1abc"}) {
			EXPECT_EQ(write_proc(file, "0"), 1);
			EXPECT_EQ(read_proc(file), "0\n");
			EXPECT_EQ(write_proc(file, on), static_cast<ssize_t>(on.size()));
			EXPECT_EQ(read_proc(file), "1\n") << name;
		}
		EXPECT_EQ(write_proc(file, "1"), 1);
		EXPECT_EQ(write_proc(file, "01"), 2);
		EXPECT_EQ(read_proc(file), "0\n") << name;
	}
}

TEST_F(LoadProc, each_switch_refuses_anything_else_and_stays)
{
	for (const char *name : kSwitches) {
		const std::string file = std::string("load_metrics/") + name;
		for (const std::string state : {"1", "0"}) {
			EXPECT_EQ(write_proc(file, state), 1);
			for (const char *text : {"", "2", "x", " 1", "\n", "-1"})
				EXPECT_EQ(write_proc(file, text), -EFAULT) << name << text;
			EXPECT_EQ(kernel.proc.write_faulting(file, 1), -EFAULT);
			EXPECT_EQ(read_proc(file), state + "\n") << name;
		}
	}
}

TEST_F(LoadProc, switches_are_independent_of_each_other)
{
	const auto states = [this] {
		std::string found;
		for (const char *name : kSwitches)
			found += read_proc(std::string("load_metrics/") + name).front();
		return found;
	};
	EXPECT_EQ(states(), "100");
	set_switch("thread_metrics_enabled", true);
	EXPECT_EQ(states(), "101");
	set_switch("load_metrics_enabled", false);
	EXPECT_EQ(states(), "001");
	set_switch("load_metrics_report", true);
	EXPECT_EQ(states(), "011");
}

TEST_F(LoadProc, switching_the_accounting_on_restarts_the_window)
{
	step(700);
	set_switch("load_metrics_enabled", false);
	EXPECT_EQ(delta(), 0U) << "switching off leaves the window alone";
	step(40);
	const u64 before = wallclock();
	set_switch("load_metrics_enabled", true);
	EXPECT_EQ(start_time(), before);
	EXPECT_EQ(wallclock(), before + 740);
	EXPECT_EQ(delta(), 740U);
	step(5);
	EXPECT_THAT(read_view(), HasSubstr(" 5\ncpu:"));
	/* Also if it was on already. */
	step(6);
	set_switch("load_metrics_enabled", true);
	EXPECT_EQ(delta(), 6U);
}

TEST_F(LoadProc, nothing_else_restarts_the_window)
{
	step(700);
	const u64 before = wallclock();
	for (const char *text : {"", "2"})
		EXPECT_EQ(write_proc("load_metrics/load_metrics_enabled", text), -EFAULT);
	EXPECT_EQ(kernel.proc.write_faulting("load_metrics/load_metrics_enabled", 1), -EFAULT);
	for (const bool on : {true, false}) {
		set_switch("load_metrics_report", on);
		set_switch("thread_metrics_enabled", on);
	}
	EXPECT_EQ(write_proc("cgroup_metrics/cgroup_metrics_enabled", "1"), 1);
	EXPECT_EQ(wallclock(), before);
}

TEST_F(LoadProc, text_without_tasks_is_only_the_header)
{
	step(123'456);
	expect_view(123'456, kIdleCpus, "");
}

TEST_F(LoadProc, text_is_exactly_so)
{
	sim::Task &app = make_task(1234, "app.main");
	sim::Task &thread = make_thread(app, 1235, "RenderThread");
	sim::Task &daemon = make_task(77, "daemon");
	app.record.flags = 1U << 4;
	sim::Platform::set_package(app, "com.example");
	daemon.record.package_name = nullptr;
	for (unsigned int cpu = 0; cpu < 8; cpu++)
		kernel.load.set_activity(cpu, 100 * cpu, 100);
	kernel.load.ran(app, 1, 1'200'000);
	kernel.load.ran(thread, 1, 1'200'000);
	give_load(app, 454);
	give_load(thread, 10'000);
	give_load(daemon, 45411);
	sim::Platform::set_package(daemon, "");
	step(1'000'000);
	expect_view(1'000'000,
		    "cpu:0(0%) 14383(31%) 28766(63%) 43149(95%) 75684(166%) 94605(208%) "
		    "113526(249%) 132447(291%) \n",
		    "pid:1234 1 comm:app.main ppid:1234 pkg:com.example 45410(99%) 454(0%)\n"
		    "pid:77 0 comm:daemon ppid:77 pkg: 0(0%) 45411(100%)\n");
}

TEST_F(LoadProc, in_thread_mode_every_thread_has_its_line)
{
	set_switch("thread_metrics_enabled", true);
	sim::Task &one = make_task(10, "single");
	sim::Task &many = make_task(20, "many");
	sim::Task &second = make_thread(many, 22, "second");
	sim::Task &idle = make_thread(many, 23, "idle");
	sim::Task &third = make_thread(many, 21, "third");
	sim::Task &last = make_task(30, "last");
	for (sim::Task *task : {&one, &second, &third, &last})
		give_load(*task, 1);
	kernel.load.ran(idle, 0, 1'000);
	step(1'000);
	expect_view(1'000, kIdleCpus,
		    "pid:10 0 comm:single ppid:10 pkg: 0(0%) 1(0%)\n"
		    "pid:20 0 comm:many ppid:20 pkg: 14383(31%) 0(0%)\n"
		    "pid:22 0 comm:second ppid:20 pkg: 0(0%) 1(0%)\n"
		    "pid:21 0 comm:third ppid:20 pkg: 0(0%) 1(0%)\n"
		    "pid:30 0 comm:last ppid:30 pkg: 0(0%) 1(0%)\n");
}

TEST_F(LoadProc, task_without_a_leader_shows_minus_1_and_the_walk_continues)
{
	for (const bool threads : {false, true}) {
		set_switch("thread_metrics_enabled", threads);
		sim::Task &task = make_task(10, "odd");
		sim::Task &next = make_task(11, "next");
		task.fields.leader = nullptr;
		give_load(task, 1);
		give_load(next, 1);
		step(1);
		expect_view(1, kIdleCpus,
			    "pid:10 0 comm:odd ppid:-1 pkg: 0(0%) 1(0%)\n"
			    "pid:11 0 comm:next ppid:11 pkg: 0(0%) 1(0%)\n");
		kernel.platform.exit(task);
		kernel.platform.exit(next);
	}
}

TEST_F(LoadProc, numbers_are_unsigned_and_their_percentages_wrap)
{
	sim::Task &task = make_task(2147483647, "t");
	word(task, kAccumulator) = ~0ULL;
	kernel.load.set_activity(0, 1ULL << 63, 1);
	step(1);
	const std::string text = read_view();
	EXPECT_THAT(text, HasSubstr("\ncpu:9223372036854775808(0%) 0(0%)"));
	EXPECT_THAT(text, HasSubstr("pid:2147483647 0 comm:t ppid:2147483647 pkg: "
				    "18446744073709551615(406217526011529%) 0(0%)\n"));
}

TEST_F(LoadProc, in_a_window_of_no_time_no_cpu_is_sampled_and_usage_is_0)
{
	sim::Task &task = make_task(10);
	kernel.load.set_activity(0, 1000, 1000);
	word(task, kAccumulator) = 55;
	give_load(task, 7);
	expect_view(0, "cpu:\n", "pid:10 0 comm:task ppid:10 pkg: 0(0%) 7(0%)\n");
	EXPECT_EQ(word(task, kAccumulator), 0U);
	step(1);
	EXPECT_THAT(read_view(), HasSubstr("\ncpu:14383(31%) 0(0%)"));
}

TEST_F(LoadProc, second_reading_shows_what_has_happened_since_the_first)
{
	sim::Task &task = make_task(10);
	kernel.load.ran(task, 0, 1 * kMs);
	step(1 * kMs);
	EXPECT_THAT(read_view(), HasSubstr("pid:10 "));
	step(300);
	expect_view(300, kIdleCpus, "");
}

TEST_F(LoadProc, view_and_upload_consume_the_same_window)
{
	set_switch("load_metrics_report", true);
	sim::Task &task = make_task(10);
	kernel.load.set_activity(0, 1000, 1000);
	kernel.load.ran(task, 0, 1 * kMs);
	step(1 * kMs);
	EXPECT_THAT(read_view(), HasSubstr("14383(31%) 0(0%)\n"));

	/* The upload has the activity after the read. */
	kernel.load.set_activity(0, 1500, 2000);
	kernel.load.ran(task, 0, 10 * kUs);
	const std::vector<Record> found = cycle(10 * kUs);
	EXPECT_EQ(delta(), 10 * kUs);
	ASSERT_THAT(found, SizeIs(9));
	EXPECT_EQ(payload_of<zem_cpu>(found[0].payload).usage, kSmallScale / 2);
	EXPECT_EQ(payload_of<zem_load>(found[8].payload).usage, kSmallScale);

	/* In the opposite order. */
	step(70);
	expect_view(70, kIdleCpus, "");
	expect_view(0, "cpu:\n", "");
	EXPECT_THAT(cycle(0), IsEmpty());
}

TEST_F(LoadProc, reading_uploads_nothing)
{
	set_switch("load_metrics_report", true);
	give_load(make_task(10), 1);
	step(1);
	EXPECT_THAT(read_view(), HasSubstr("pid:10 "));
	EXPECT_THAT(drained_payloads(), IsEmpty());
}

TEST_F(LoadProc, carry_over_is_shared_by_view_and_upload)
{
	set_switch("load_metrics_report", true);
	sim::Task &task = make_task(10);
	sim::Platform::set_package(task, "com.example");
	give_load(task, 1);
	step(1);
	EXPECT_THAT(read_view(), HasSubstr("pkg:com.example "));
	sim::Task &gone = make_task(11);
	sim::Platform::become_zombie(gone);
	give_load(gone, 1);
	const std::vector<zem_load> found = loads();
	ASSERT_THAT(found, SizeIs(1));
	EXPECT_STREQ(found[0].pkg, "com.example");
}

TEST_F(LoadProc, longest_line_is_shown_in_one_read)
{
	sim::Task &task = make_task(-2147483647 - 1, "fifteen letters");
	sim::Platform::set_package(task, std::string(31, 'p'));
	word(task, kAccumulator) = ~0ULL;
	give_load(task, 1);
	for (unsigned int cpu = 0; cpu < 8; cpu++) {
		kernel.cpus.set_package(cpu, 1);
		kernel.load.set_activity(cpu, ~0ULL / kBigScale, 1);
	}
	step(1);
	EXPECT_THAT(read_view(),
		    HasSubstr("pid:-2147483648 0 comm:fifteen letters ppid:-2147483648 "
			      "pkg:ppppppppppppppppppppppppppppppp 18446744073709551615("));
	EXPECT_EQ(kernel.proc.repeated_shows(), 0U);
}

TEST_F(LoadProc, reading_without_memory_consumes_nothing)
{
	sim::Task &task = make_task(10);
	give_load(task, 1);
	step(1);
	const u64 before = wallclock();
	kernel.faults.fail("seq_buf_alloc");
	EXPECT_EQ(kernel.proc.read("load_metrics/load_metrics").result, -ENOMEM);
	EXPECT_EQ(wallclock(), before);
	EXPECT_THAT(read_view(), HasSubstr("pid:10 "));
}

struct MissingFile {
	const char *call;
	unsigned int nth;
	const char *name;
};

class LoadProcFiles : public UnloadedTest, public ::testing::WithParamInterface<MissingFile> {};

/* Start-up ignores the failure, and unload does not remove the missing file. */
TEST_P(LoadProcFiles, one_that_cannot_be_created_is_missing_and_the_others_work)
{
	kernel.faults.at("register_load_stat_proc_runtime",
			 [&] { kernel.faults.fail(GetParam().call, GetParam().nth); });
	load();
	const std::string missing = std::string("load_metrics/") + GetParam().name;
	EXPECT_FALSE(kernel.proc.exists(missing));
	EXPECT_THAT(kernel.proc.list("load_metrics"), SizeIs(3));
	for (const auto &[name, mode] : kernel.proc.list("load_metrics"))
		EXPECT_GT(kernel.proc.read("load_metrics/" + name).result, 0);
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
	EXPECT_THAT(kernel.problems.take(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
	LoadProc, LoadProcFiles,
	::testing::Values(MissingFile{"proc_create_data", 1, "load_metrics_enabled"},
			  MissingFile{"proc_create_data", 2, "load_metrics_report"},
			  MissingFile{"proc_create_data", 3, "thread_metrics_enabled"},
			  MissingFile{"proc_create_seq_private", 1, "load_metrics"}),
	[](const auto &info) { return std::string(info.param.name); });

} /* namespace test */
