// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl doctor on a folder of plain files: each fault on its own, and what --fix does about it.
 */
#include <nlohmann/json.hpp>

#include "command_fixture.h"
#include "kernel/metric_switches.h"

namespace zemctl {

/* A machine without a fault. */
class DoctorTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		for (const Family &family : kFamilies)
			put("zem/" + std::string(family.attribute), "1\n");
		for (const MetricSwitch &metrics : kMetricSwitches)
			put("proc/" + std::string(metrics.file), "1\n");
		put("proc/load_metrics/thread_metrics_enabled", "0\n");
		put("proc/sys/kernel/sched_schedstats", "1\n");
		put("proc/mounts", "none " + (root / "cpu").string() + " cgroup rw,cpu 0 0\n");
		fs::create_directories(root / "cpu/system/foreground");
		put("proc/2/comm", "kthreadd\n");
		put("proc/77/comm", "ts_timer_getdata_thread\n");
	}

	Result doctor(const std::string &arguments = "") const
	{
		return shell("TZ=UTC $zemctl doctor --seconds 0.001 " + arguments);
	}

	/* Returns whether doctor reports exactly @line, with status 1. */
	void expect_fault(const std::string &line) const
	{
		const Result result = doctor();
		EXPECT_EQ(result.out, line);
		EXPECT_EQ(result.err, "");
		EXPECT_EQ(result.status, 1);
	}
};

TEST_F(DoctorTest, a_machine_without_a_fault)
{
	const Result result = doctor();
	EXPECT_EQ(result.out, "no fault was found\n");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(nlohmann::json::parse(doctor("--json").out)["findings"], nlohmann::json::array());
}

TEST_F(DoctorTest, trace_is_off)
{
	put("zem/trace_on", "0\n");
	fs::remove_all(root / "proc/77");
	expect_fault("trace: off: every record is dropped. Run: zemctl set trace on\n");
	EXPECT_EQ(doctor("--fix").out,
		  "trace: off: every record is dropped. Run: zemctl set trace on\n  mended\n");
	EXPECT_EQ(get("zem/trace_on"), "1\n");
}

TEST_F(DoctorTest, no_collector_runs)
{
	fs::remove_all(root / "proc/77");
	expect_fault("collector: not running: no family is collected. "
		     "Run: zemctl set trace off && zemctl set trace on\n");
	EXPECT_EQ(doctor("--fix").status, 0);
	EXPECT_EQ(get("zem/trace_on"), "1\n");
}

TEST_F(DoctorTest, a_collector_is_not_missed_where_no_thread_of_the_kernel_is_visible)
{
	fs::remove_all(root / "proc/77");
	fs::remove_all(root / "proc/2");
	EXPECT_EQ(doctor().status, 0);
}

TEST_F(DoctorTest, an_interval_is_0)
{
	put("zem/kgsl_interval", "0\n");
	EXPECT_EQ(doctor().status, 0) << "nothing reads the interval of kgsl";
	put("zem/cgroup_interval", "0\n");
	expect_fault("interval: cgroup_interval is 0: cgroup is not collected. "
		     "Run: zemctl set interval cgroup 1\n");
	put("zem/display_interval", "0\n");
	EXPECT_EQ(doctor("--fix").status, 0);
	EXPECT_EQ(get("zem/cgroup_interval"), "1\n");
	EXPECT_EQ(get("zem/display_interval"), "10\n") << "display counts seconds";
	EXPECT_EQ(get("zem/kgsl_interval"), "0\n");
}

TEST_F(DoctorTest, a_switch_of_the_metrics_is_off)
{
	put("proc/load_metrics/load_metrics_report", "0\n");
	expect_fault("metrics: load-report is off: its figures are empty. "
		     "Run: zemctl set metrics load-report on\n");
	put("proc/svp_metrics/svp_metrics_enabled", "0\n");
	EXPECT_EQ(doctor("--fix").status, 0);
	EXPECT_EQ(get("proc/load_metrics/load_metrics_report"), "1\n");
	EXPECT_EQ(get("proc/svp_metrics/svp_metrics_enabled"), "1\n");
	EXPECT_EQ(get("proc/load_metrics/thread_metrics_enabled"), "0\n");
}

TEST_F(DoctorTest, the_kernel_keeps_no_schedstats)
{
	put("proc/sys/kernel/sched_schedstats", "0\n");
	expect_fault("schedstats: off: the waits in health, and the D states in health and svp, "
		     "stay 0. Run: sysctl kernel.sched_schedstats=1\n");
	EXPECT_EQ(doctor("--fix").status, 0);
	EXPECT_EQ(get("proc/sys/kernel/sched_schedstats"), "1\n");
	fs::remove(root / "proc/sys/kernel/sched_schedstats");
	expect_fault("schedstats: this kernel has none: the waits in health, and the D states in "
		     "health and svp, stay 0\n");
	EXPECT_EQ(doctor("--fix").status, 1);
}

TEST_F(DoctorTest, no_group_is_named_foreground)
{
	const std::string text = "groups: no cpu control group is named foreground: the rows of "
				 "groups stay 0, and the module searches for the group again and "
				 "again";
	fs::remove(root / "cpu/system/foreground");
	put("cpu/system/foreground", "a file");
	expect_fault(text + ". Run: mkdir " + (root / "cpu").string() + "/foreground\n");
	EXPECT_EQ(doctor("--fix").status, 1) << "groups belong to the platform";
	put("proc/mounts", "none " + (root / "cpu").string() + " cgroup rw,cpuset 0 0\n");
	expect_fault(text + "\n");
	fs::remove(root / "cpu/system/foreground");
	fs::create_directories(root / "cpu/foreground");
	expect_fault(text + "\n");
	put("proc/mounts", "none " + (root / "cpu").string() + " cgroup2 rw 0 0\n");
	EXPECT_EQ(doctor().status, 0);
}

TEST_F(DoctorTest, the_rings_are_too_small_for_the_present_rate)
{
	const Result result =
		shell("(sleep 0.5; echo 7 >module/counters/records_overwritten) &\n"
		      "TZ=UTC $zemctl doctor --fix --seconds 2; status=$?; wait; exit $status");
	EXPECT_EQ(result.out,
		  "ring: 8192 bytes per CPU are too few for the present rate: 7 records were "
		  "overwritten during the check. Run: zemctl set rb-size 32768\n  mended\n"
		  "note: loss: 7 records since the module was loaded: 7 overwritten, 0 refused, 0 "
		  "too large, 0 dropped. Run: zemctl record --strict -o FILE\n"
		  "  not mended by zemctl\n");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(get("zem/rb_size"), "32768\n");
}

TEST_F(DoctorTest, a_loss_before_the_check_is_a_note)
{
	count("records_dropped", 3);
	const Result result = doctor();
	EXPECT_EQ(result.out,
		  "note: loss: 3 records since the module was loaded: 0 overwritten, 0 refused, 0 "
		  "too large, 3 dropped. Run: zemctl record --strict -o FILE\n"
		  "no fault was found\n");
	EXPECT_EQ(result.status, 0);
	const auto object = nlohmann::json::parse(doctor("--json").out);
	ASSERT_EQ(object["findings"].size(), 1u);
	EXPECT_EQ(object["findings"][0]["severity"], "note");
	EXPECT_EQ(object["findings"][0]["subject"], "loss");
	EXPECT_EQ(object["findings"][0]["command"], "zemctl record --strict -o FILE");
	EXPECT_EQ(object["findings"][0]["mended"], false);
	EXPECT_EQ(object["findings"][0]["error"], nullptr);
}

TEST_F(DoctorTest, a_module_without_counters_hides_its_losses)
{
	fs::remove_all(counters());
	expect_fault("counters: module/counters does not have all counters: a loss would not be "
		     "noticed\n");
}

TEST_F(DoctorTest, the_readers_are_named)
{
	put("proc/300/comm", "recorder\n");
	fs::create_directories(root / "proc/300/fd");
	fs::create_symlink("/dev/null", root / "proc/300/fd/0");
	EXPECT_EQ(doctor().out, "no fault was found\n");
	fs::create_symlink(root / "shared", root / "proc/300/fd/3");
	const Result one = doctor();
	EXPECT_EQ(one.out,
		  "note: readers: the shared buffer is open in 300 (recorder): a second reader "
		  "would take records from it\n"
		  "no fault was found\n");
	EXPECT_EQ(one.status, 0);
	put("proc/4/comm", "watcher\n");
	put("proc/4/maps", "7f00-7f01 r--p 00000000 08:01 5    /lib/libc.so.6\n"
			   "7f02-7f04 r--s 00000000 00:05 291    " +
				   (root / "shared").string() + "\n");
	expect_fault("readers: the shared buffer is open in 4 (watcher) 300 (recorder): two "
		     "readers take records from each other\n");
}

TEST_F(DoctorTest, a_server_owns_the_buffer_and_its_clients_are_no_readers)
{
	/* The doctor sees the real processes below the folder that it takes for procfs. */
	const Result result = shell(
		"$zemctl serve --no-listen 2>log & pid=$!\n"
		"until grep -qs 'records at' log; do kill -0 $pid || exit 1; sleep 0.02; done\n"
		"$zemctl record -o capture 2>summary & client=$!\n"
		"until test -s capture; do kill -0 $client || exit 1; sleep 0.02; done\n"
		"for process in $pid $client $$; do ln -s /proc/$process proc; done\n"
		"echo $pid $(cat /proc/$$/comm) $$ >processes\n"
		"export TZ=UTC; $zemctl doctor --seconds 0.001; echo $?\n"
		"exec 9<shared; $zemctl doctor --seconds 0.001; echo $?\n"
		"kill $pid; wait $pid && wait $client");
	std::istringstream processes(get("processes"));
	std::string server, other, other_pid;
	processes >> server >> other >> other_pid;
	const std::string owned =
		"readers: the shared buffer belongs to zemctl serve (process " + server + ")";
	EXPECT_EQ(result.out, "note: " + owned + "\nno fault was found\n0\n" + owned +
				      ", but is also open in " + other_pid + " (" + other +
				      "): they take records from each other\n1\n");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
}

TEST_F(DoctorTest, without_the_module_it_says_so)
{
	fs::remove_all(root / "zem");
	const Result result = doctor();
	EXPECT_EQ(result.err, "zemctl: zem: not there: the zem module is not loaded\n");
	EXPECT_EQ(result.status, 1);
}

} // namespace zemctl
