// SPDX-License-Identifier: GPL-2.0
/*
 * The commands that read files below /proc: sched, svp, and the switches in status and set.
 */
#include <cstring>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

const std::string kDirectory = "proc/sched_metrics/sched_metrics_";

class MetricsCommandTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		put("proc/svp_metrics/svp_metrics_enabled", "1\n");
		put("proc/sched_metrics/sched_metrics_enabled", "1\n");
		put("proc/svp_metrics/svp_metrics", "");
		show_histograms(1);
		/* Each read of these files resets them for other readers. */
		for (const char *view :
		     {"irqtime", "all_irqtime_sum", "svp_runtime", "svp_runtime_sum"})
			fs::create_symlink("/nowhere", root / (kDirectory + view));
	}

	/* Writes the files again with all counters multiplied by @factor. */
	void show_histograms(unsigned int factor) const
	{
		const std::string &directory = kDirectory;
		const CpuCounts counts = {{10ULL * factor, 0, 0, 0, 5ULL * factor},
					  {0, 0, 0, 0, 1ULL * factor}};
		const std::vector<unsigned long long> times = {2'000'000ULL * factor,
							       3'000'000ULL * factor};
		put(directory + "irqtime_total",
		    counts_view("histogram irqtime total (us):\n",
				{100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000}, counts));
		put(directory + "all_irqtime_sum_total",
		    time_view("all irqtime_sum total (ms):\n", times, "%16llu\n\n"));
		put(directory + "svp_runtime_total",
		    counts_view("histogram svp_runtime total (us):\n",
				{2000, 5000, 8000, 11000, 14000, 18000, 22000, 27000, 32000},
				counts));
		put(directory + "svp_runtime_sum_total",
		    time_view("svp_runtime_sum total (ms):\n", times));
		put(directory + "svp_rundelay_total",
		    counts_view("histogram_svp_run_delay total (us):\n",
				{500, 1000, 2000, 3000, 5000, 7000, 10000, 15000, 20000}, counts));
		put(directory + "svp_rundelay_sum_total",
		    time_view("svp_run_delay_sum total (ms):\n", times));
		put(directory + "svp_d_state_duration_total",
		    counts_view("histogram_svp_d_state_duration total (us):\n",
				{2000, 3000, 7000, 12000, 18000, 27000, 44000, 100000, 200000},
				counts));
		put(directory + "svp_d_state_duration_sum_total",
		    time_view("svp_d_state_duration_sum total (ms):\n", times));
	}
};

zem_svp made_task(int pid, std::uint64_t run_delay, const char *thread, const char *package)
{
	zem_svp task = {};
	task.tgid = 100;
	task.pid = pid;
	std::strcpy(task.thread_name, thread);
	std::strcpy(task.package_name, package);
	task.stats.run_delay_total = run_delay;
	task.stats.runtime_total = 7'000'000;
	task.stats.d_state_duration_total = 1;
	task.stats.iowait_total = 1'500'000;
	return task;
}

} // namespace

TEST_F(MetricsCommandTest, sched_shows_four_tables)
{
	const Result result = run("sched --ascii");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(
		result.out.substr(0, result.out.find("SVP tasks waiting")),
		"since the module was loaded\n"
		"\n"
		"hard interrupts: 16 in 5 ms\n"
		"   <100 us        10   62.5 %  #################################################\n"
		"   <200 us         0    0.0 %\n"
		"   <300 us         0    0.0 %\n"
		"   <500 us         0    0.0 %\n"
		"     <1 ms         6   37.5 %  #############################\n"
		"     <2 ms         0    0.0 %\n"
		"     <4 ms         0    0.0 %\n"
		"     <6 ms         0    0.0 %\n"
		"     <8 ms         0    0.0 %\n"
		"    >=8 ms         0    0.0 %\n"
		"\n"
		"SVP tasks on a CPU: 16 in 5 ms\n"
		"     <2 ms        10   62.5 %  #################################################\n"
		"     <5 ms         0    0.0 %\n"
		"     <8 ms         0    0.0 %\n"
		"    <11 ms         0    0.0 %\n"
		"    <15 ms         6   37.5 %  #############################\n"
		"    <18 ms         0    0.0 %\n"
		"    <22 ms         0    0.0 %\n"
		"    <27 ms         0    0.0 %\n"
		"    <32 ms         0    0.0 %\n"
		"   >=32 ms         0    0.0 %\n"
		"\n");
	EXPECT_NE(result.out.find("\nSVP tasks in uninterruptible sleep: 16 in 5 ms\n"),
		  std::string::npos);
}

TEST_F(MetricsCommandTest, sched_with_cpus)
{
	const Result result = run("sched --cpus --ascii");
	EXPECT_NE(result.out.find("            cpu0    cpu1\n"
				  "   <100 us    10 @     0\n"),
		  std::string::npos)
		<< result.out;
	EXPECT_NE(result.out.find("     <1 ms     5 =     1 @\n"), std::string::npos) << result.out;
	EXPECT_NE(result.out.find("time in ms     2       3\n"), std::string::npos) << result.out;
}

TEST_F(MetricsCommandTest, the_locale_and_an_option_choose_the_bars)
{
	EXPECT_NE(shell("LC_ALL=C.UTF-8 $zemctl sched").out.find("█"), std::string::npos);
	EXPECT_EQ(shell("LC_ALL=C.UTF-8 $zemctl sched --ascii").out, run("sched --ascii").out);
	EXPECT_EQ(shell("LC_ALL=C $zemctl sched").out, run("sched --ascii").out);
	EXPECT_EQ(shell("unset LC_ALL LC_CTYPE LANG; $zemctl sched").out,
		  shell("LC_ALL= LC_CTYPE= LANG=en_US.utf8 $zemctl sched").out);
	EXPECT_NE(shell("unset LC_ALL LC_CTYPE LANG; $zemctl sched").out, run("sched --ascii").out);
}

TEST_F(MetricsCommandTest, columns_widen_the_bars)
{
	const std::string wide = shell("COLUMNS=120 $zemctl sched --ascii").out;
	EXPECT_NE(wide.find(std::string(89, '#') + "\n"), std::string::npos) << wide;
}

TEST_F(MetricsCommandTest, sched_as_json)
{
	const Result result = run("sched --json");
	EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_EQ(object["schema"], "zemctl.sched");
	EXPECT_EQ(object["interval_ns"], nullptr);
	EXPECT_EQ(object["svp_runtime"],
		  nlohmann::json({{"bounds_us",
				   {2000, 5000, 8000, 11000, 15000, 18000, 22000, 27000, 32000}},
				  {"counts", {10, 0, 0, 0, 6, 0, 0, 0, 0, 0}},
				  {"total_time_ms", 5},
				  {"per_cpu",
				   {{{"cpu", 0},
				     {"counts", {10, 0, 0, 0, 5, 0, 0, 0, 0, 0}},
				     {"total_time_ms", 2}},
				    {{"cpu", 1},
				     {"counts", {0, 0, 0, 0, 1, 0, 0, 0, 0, 0}},
				     {"total_time_ms", 3}}}}}));
	for (const char *name : {"irqtime", "svp_rundelay", "svp_d_state"})
		EXPECT_EQ(object[name]["total_time_ms"], 5) << name;
}

/*
 * The first and the last view of a reading are pipes, so that the test does not depend on time: the
 * other files change after the first reading and before the second.
 */
TEST_F(MetricsCommandTest, sched_of_an_interval_shows_what_came_in_it)
{
	fs::copy(root / "proc/sched_metrics", root / "earlier",
		 fs::copy_options::recursive | fs::copy_options::skip_symlinks);
	show_histograms(3);
	fs::copy(root / "proc/sched_metrics", root / "later",
		 fs::copy_options::recursive | fs::copy_options::skip_symlinks);
	show_histograms(1);
	const Result result =
		shell("first=sched_metrics_irqtime_total\n"
		      "last=sched_metrics_svp_d_state_duration_sum_total\n"
		      "cd proc/sched_metrics; rm $first $last; mkfifo $first $last\n"
		      "(cd ../..; exec $zemctl sched --seconds 0.01 --json) & pid=$!\n"
		      "cat ../../earlier/$first >$first; cat ../../earlier/$last >$last\n"
		      "for view in ../../later/*_total; do\n"
		      "	view=${view##*/}; [ -p $view ] || cp ../../later/$view .\n"
		      "done\n"
		      "cat ../../later/$first >$first; cat ../../later/$last >$last\n"
		      "wait $pid");
	EXPECT_EQ(result.err, "");
	ASSERT_EQ(result.status, 0);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_GE(object["interval_ns"], 10'000'000);
	for (const char *name : {"irqtime", "svp_runtime", "svp_rundelay", "svp_d_state"}) {
		EXPECT_EQ(object[name]["counts"], nlohmann::json({20, 0, 0, 0, 12, 0, 0, 0, 0, 0}))
			<< name;
		EXPECT_EQ(object[name]["total_time_ms"], 10) << name;
		EXPECT_EQ(object[name]["per_cpu"][1]["total_time_ms"], 6) << name;
	}
}

/* The child of the shell has the shell's signal handlers until it becomes zemctl. */
TEST_F(MetricsCommandTest, an_interrupt_ends_the_interval_early)
{
	const Result result = shell(
		"$zemctl sched --seconds 1000 --ascii & pid=$!\n"
		"until grep -q ^zemctl /proc/$pid/comm &&\n"
		"	grep -q '^SigCgt:.*[2367abef]$' /proc/$pid/status; do sleep 0.02; done\n"
		"kill -INT $pid; wait $pid");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.out.find("in "), 0u) << result.out;
	EXPECT_NE(result.out.find("\nhard interrupts: 0 in 0 ms\n"), std::string::npos);
}

TEST_F(MetricsCommandTest, sched_without_the_module_says_so)
{
	fs::remove_all(root / "proc/sched_metrics");
	const Result result = run("sched");
	EXPECT_EQ(result.err, "zemctl: proc/sched_metrics/sched_metrics_irqtime_total: not there: "
			      "the zem module is not loaded\n");
	EXPECT_EQ(result.status, 1);
}

TEST_F(MetricsCommandTest, sched_names_the_view_that_it_does_not_understand)
{
	put("proc/sched_metrics/sched_metrics_svp_rundelay_sum_total", "Memory kcalloc failed\n");
	const Result result = run("sched");
	EXPECT_EQ(result.err, "zemctl: proc/sched_metrics/sched_metrics_svp_rundelay_sum_total: "
			      "not understood: \"Memory kcalloc failed\"\n");
	EXPECT_EQ(result.out, "");
	EXPECT_EQ(result.status, 1);
}

TEST_F(MetricsCommandTest, svp_lists_the_longest_wait_first)
{
	put("proc/svp_metrics/svp_metrics",
	    svp_text(made_task(101, 1'000'000, "short", "com.example.app")) +
		    svp_text(made_task(102, 20'000'000, "long", "")) +
		    svp_text(made_task(103, 3'456'000, "e\x1b[1m", "com.example.app")));
	const Result result = run("svp");
	EXPECT_EQ(
		result.out,
		"RUN DELAY ms    RUNTIME ms    D STATE ms    IO WAIT ms     TGID      PID  THREAD "
		"          PACKAGE\n"
		"      20.000         7.000         0.000         1.500      100      102  long   "
		"          -\n"
		"       3.456         7.000         0.000         1.500      100      103  "
		"e\\x1b[1m         com.example.app\n"
		"       1.000         7.000         0.000         1.500      100      101  short  "
		"          com.example.app\n");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
}

TEST_F(MetricsCommandTest, svp_as_json_is_one_object_with_all_tasks)
{
	put("proc/svp_metrics/svp_metrics",
	    svp_text(made_task(101, 1, "first", "p")) + svp_text(made_task(102, 2, "\xff", "p")));
	const Result result = run("svp --json");
	EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_EQ(object["schema"], "zemctl.svp");
	EXPECT_EQ(object["svp_bounds_us"]["run_delay"], nlohmann::json({2000, 10000, 20000}));
	ASSERT_EQ(object["svp_tasks"].size(), 2u);
	EXPECT_EQ(object["svp_tasks"][0]["pid"], 102);
	EXPECT_EQ(object["svp_tasks"][0]["comm"], R"(\xff)");
	EXPECT_EQ(object["svp_tasks"][1]["pid"], 101);
}

TEST_F(MetricsCommandTest, svp_says_in_its_help_that_it_consumes)
{
	EXPECT_NE(run("svp --help").out.find("consumes"), std::string::npos);
}

TEST_F(MetricsCommandTest, svp_that_fails_names_file_and_line)
{
	put("proc/svp_metrics/svp_metrics", "x\n");
	EXPECT_EQ(run("svp").err,
		  "zemctl: proc/svp_metrics/svp_metrics: line 1: \"---------------- "
		  "svp common info ----------------\" is missing\n");
	fs::remove_all(root / "proc/svp_metrics");
	EXPECT_EQ(run("svp").err, "zemctl: proc/svp_metrics/svp_metrics: not there: the zem module "
				  "is not loaded\n");
}

TEST_F(MetricsCommandTest, status_shows_the_switches_that_are_there)
{
	put("proc/sched_metrics/sched_metrics_enabled", "0\n");
	EXPECT_NE(run("status").out.find("\nmetrics      svp on, sched off\nrb size"),
		  std::string::npos);
	const auto both = nlohmann::json::parse(run("status --json").out)["metrics"];
	EXPECT_EQ(both["svp"], true);
	EXPECT_EQ(both["sched"], false);
	fs::remove(root / "proc/svp_metrics/svp_metrics_enabled");
	EXPECT_NE(run("status").out.find("\nmetrics      sched off\n"), std::string::npos);
	const auto one = nlohmann::json::parse(run("status --json").out)["metrics"];
	EXPECT_EQ(one["svp"], nullptr);
	EXPECT_EQ(one["sched"], false);
}

TEST_F(MetricsCommandTest, set_metrics_writes_the_switch)
{
	EXPECT_EQ(run("set metrics svp off").status, 0);
	EXPECT_EQ(get("proc/svp_metrics/svp_metrics_enabled"), "0\n");
	EXPECT_EQ(get("proc/sched_metrics/sched_metrics_enabled"), "1\n");
	EXPECT_EQ(run("set metrics sched off").status, 0);
	EXPECT_EQ(get("proc/sched_metrics/sched_metrics_enabled"), "0\n");
	EXPECT_EQ(run("set metrics svp on").status, 0);
	EXPECT_EQ(get("proc/svp_metrics/svp_metrics_enabled"), "1\n");
}

TEST_F(MetricsCommandTest, set_metrics_makes_no_file_that_the_module_did_not)
{
	fs::remove(root / "proc/svp_metrics/svp_metrics_enabled");
	const Result result = run("set metrics svp on");
	EXPECT_EQ(result.err, "zemctl: proc/svp_metrics/svp_metrics_enabled: not there: the zem "
			      "module is not loaded\n");
	EXPECT_EQ(result.status, 1);
	EXPECT_FALSE(fs::exists(root / "proc/svp_metrics/svp_metrics_enabled"));
}

TEST_F(MetricsCommandTest, usage_errors_have_status_2)
{
	for (const char *arguments :
	     {"set metrics", "set metrics svp", "set metrics svp maybe", "set metrics kio on",
	      "sched --seconds 0", "sched --seconds -1", "sched 1 0", "sched x",
	      "sched --json --cpus", "sched --json --ascii", "sched extra", "svp extra",
	      "watch --json --full"}) {
		const Result result = run(arguments);
		EXPECT_EQ(result.status, 2) << arguments << ": " << result.err;
		EXPECT_EQ(result.out, "") << arguments;
	}
}

TEST_F(MetricsCommandTest, watch_in_full_shows_the_decoded_payload_below_its_line)
{
	zem_kzerod totals = {1, 2, 3, 4, 5};
	zem_sched sched = {};
	sched.irqtime.counts[0] = 3;
	const auto record = [](std::uint8_t channel, const auto &payload) {
		return made_record(channel,
				   std::string_view(reinterpret_cast<const char *>(&payload),
						    sizeof(payload)));
	};
	show_records(record(ZEM_CHANNEL_KZEROD, totals) + record(ZEM_CHANNEL_SCHED, sched) +
		     made_record(ZEM_CHANNEL_TEST, "end"));
	std::istringstream lines(run("watch --full --records 3").out);
	std::string text;
	for (std::string line; std::getline(lines, line) && text.find("SVP") == std::string::npos;)
		text += line.substr(0, 4) == "    " ? line + '\n' :
						      line.substr(kHeading.find("PAYLOAD")) + '\n';
	EXPECT_EQ(
		text.substr(text.find('\n') + 1),
		"pages: 1 failed, 2 prezeroed; lists: 3 allocated, 4 broken down, 5 "
		"drained\n"
		"irq 3 in 0.000 ms, svp ran 0 in 0.000 ms, waited 0 in 0.000 ms, slept in "
		"D state 0 in 0.000 ms\n"
		"    hard interrupts: 3 in 0.000 ms\n"
		"      <100 us 3, <200 us 0, <300 us 0, <500 us 0, <1 ms 0, <2 ms 0, <4 ms 0, "
		"<6 ms 0, <8 ms 0, >=8 ms 0\n"
		"      cpu0 0.000 ms, cpu1 0.000 ms, cpu2 0.000 ms, cpu3 0.000 ms, cpu4 0.000 ms, "
		"cpu5 0.000 ms, cpu6 0.000 ms, cpu7 0.000 ms\n"
		"    SVP tasks on a CPU: 0 in 0.000 ms\n");
}

} // namespace zemctl
