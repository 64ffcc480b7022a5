// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl unload on folders of plain files, with a system call that the test defines.
 */
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include "base/errors.h"
#include "command_fixture.h"
#include "commands/unload.h"

namespace zemctl {

namespace {

struct Outcome {
	std::string out;
	std::string err;
	std::string failure;
	int status = -1;
};

class UnloadTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		paths.sysfs = root / "zem";
		paths.proc = root / "proc";
		paths.kioind = root / "kioind";
		paths.module = root / "module";
		put("module/initstate", "live\n");
		fs::create_directory(root / "proc");
	}

	Outcome unload(const DeleteModule &delete_module) const
	{
		Outcome outcome;
		testing::internal::CaptureStdout();
		testing::internal::CaptureStderr();
		try {
			outcome.status = run_unload(paths, delete_module);
		} catch (const Failure &failure) {
			outcome.failure = failure.what();
			outcome.status = failure.status();
		}
		outcome.out = testing::internal::GetCapturedStdout();
		outcome.err = testing::internal::GetCapturedStderr();
		return outcome;
	}

	/* Waits for a record, then removes the files of the module. */
	int go_after_a_record() const
	{
		put("module/initstate", "going\n");
		if (!comes_to_be([this] { return get("zem/test") == "unload"; }))
			return ETIMEDOUT;
		fs::remove_all(root / "zem");
		fs::remove_all(root / "module");
		return 0;
	}

	template <typename Condition>
	static bool comes_to_be(const Condition &condition)
	{
		const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
		while (!condition()) {
			if (std::chrono::steady_clock::now() > end)
				return false;
			std::this_thread::sleep_for(std::chrono::milliseconds(1));
		}
		return true;
	}

	Paths paths;
};

} // namespace

TEST_F(UnloadTest, a_record_ends_the_wait)
{
	const Outcome outcome = unload([this] { return go_after_a_record(); });
	EXPECT_EQ(outcome.failure, "");
	EXPECT_EQ(outcome.out, "unloaded\n");
	EXPECT_EQ(outcome.err, "");
	EXPECT_EQ(outcome.status, 0);
}

TEST_F(UnloadTest, records_come_until_the_module_is_gone)
{
	const Outcome outcome = unload([this] {
		put("module/initstate", "going\n");
		for (int i = 0; i < 3; i++) {
			if (!comes_to_be([this] { return get("zem/test") == "unload"; }))
				return ETIMEDOUT;
			put("zem/test", "");
		}
		return 0;
	});
	EXPECT_EQ(outcome.failure, "");
	EXPECT_EQ(outcome.status, 0);
}

TEST_F(UnloadTest, files_that_go_while_the_call_lasts_are_no_failure)
{
	const Outcome outcome = unload([this] {
		const int result = go_after_a_record();
		std::this_thread::sleep_for(std::chrono::milliseconds(100));
		return result;
	});
	EXPECT_EQ(outcome.failure, "");
	EXPECT_EQ(outcome.out, "unloaded\n");
}

TEST_F(UnloadTest, trace_is_on_before_the_call)
{
	put("zem/trace_on", "0\n");
	std::string during;
	const Outcome outcome = unload([&] {
		during = get("zem/trace_on");
		return go_after_a_record();
	});
	EXPECT_EQ(during, "1\n");
	EXPECT_EQ(outcome.status, 0);
}

TEST_F(UnloadTest, leftovers_are_reported)
{
	put("proc/svp_metrics/x", "");
	put("proc/sched_metrics/x", "");
	put("proc/load_metrics/load_metrics_report", "0\n");
	put("proc/cgroup_metrics/x", "");
	put("proc/zem_procstat/set", "");
	put("proc/other/x", "");
	put("kioind/show1_diskstats", "");
	const std::string proc = paths.proc;
	EXPECT_EQ(unload([this] { return go_after_a_record(); }).out,
		  "unloaded\n"
		  "left behind, by the module's design:\n"
		  "  " + proc +
			  "/svp_metrics\n  " + proc + "/sched_metrics\n  " + proc +
			  "/load_metrics\n  " + proc + "/load_metrics/load_metrics_report\n  " +
			  proc + "/cgroup_metrics\n  " + proc + "/zem_procstat\n  " + paths.kioind +
			  "\n");
}

TEST_F(UnloadTest, only_leftovers_that_exist_are_reported)
{
	put("proc/load_metrics/x", "");
	EXPECT_EQ(unload([this] { return go_after_a_record(); }).out,
		  "unloaded\nleft behind, by the module's design:\n  " + paths.proc +
			  "/load_metrics\n");
}

TEST_F(UnloadTest, a_module_in_use_stays_as_it_was)
{
	for (const int error : {EAGAIN, EBUSY}) {
		put("zem/trace_on", "0\n");
		const Outcome outcome = unload([error] {
			/* Leaves time for a record, which must not be created. */
			std::this_thread::sleep_for(std::chrono::milliseconds(100));
			return error;
		});
		EXPECT_EQ(outcome.failure,
			  "unload: the module is in use, by a mapping of the shared buffer, by "
			  "another module or, on a kernel with vendor hooks, by its own probes: "
			  "nothing changed");
		EXPECT_EQ(outcome.out, "");
		EXPECT_EQ(outcome.status, 1);
		EXPECT_EQ(get("zem/trace_on"), "0\n");
		EXPECT_EQ(get("zem/test"), "");
	}
	put("zem/trace_on", "1\n");
	unload([] { return EAGAIN; });
	EXPECT_EQ(get("zem/trace_on"), "1\n");
}

TEST_F(UnloadTest, other_failures_of_the_call)
{
	EXPECT_EQ(unload([] { return ENOENT; }).failure, "unload: the zem module is not loaded");
	EXPECT_EQ(unload([] { return EPERM; }).failure,
		  "unload: not permitted: only root may unload a module, and only if the kernel "
		  "allows it");
	EXPECT_EQ(unload([] { return EFAULT; }).failure, "unload: Bad address");
}

TEST_F(UnloadTest, without_the_module_no_call_is_made)
{
	fs::remove_all(root / "zem");
	bool called = false;
	const Outcome outcome = unload([&called] {
		called = true;
		return 0;
	});
	EXPECT_EQ(outcome.failure, paths.sysfs + ": not there: the zem module is not loaded");
	EXPECT_EQ(outcome.status, 1);
	EXPECT_FALSE(called);
}

TEST_F(UnloadTest, an_interrupt_half_way_does_not_leave_the_module_without_its_record)
{
	/* A shell starts its background commands with SIGINT ignored. */
	std::signal(SIGINT, SIG_DFL);
	const Outcome outcome = unload([this] {
		std::raise(SIGINT);
		std::raise(SIGTERM);
		return go_after_a_record();
	});
	EXPECT_EQ(outcome.out, "unloaded\n");
	EXPECT_EQ(std::signal(SIGINT, SIG_DFL), SIG_DFL) << "the handler is restored afterwards";
}

TEST_F(UnloadTest, the_command_line_takes_no_arguments)
{
	EXPECT_EQ(run("unload now").status, 2);
	EXPECT_EQ(run("unload --help").status, 0);
	fs::remove_all(root / "zem");
	EXPECT_EQ(run("unload").err, "zemctl: zem: not there: the zem module is not loaded\n");
}

} // namespace zemctl
