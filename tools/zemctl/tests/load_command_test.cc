// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl load and zemctl health, and their switches in status and set.
 */
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

const std::string kLoad = "proc/load_metrics/load_metrics";
const std::string kHealth = "proc/cgroup_metrics/cgroup_metrics";
const std::string kHealthReport = "proc/morva_sched_healthinfo/sched_healthinfo";

class LoadCommandTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		put("proc/load_metrics/load_metrics_enabled", "1\n");
		put("proc/load_metrics/load_metrics_report", "0\n");
		put("proc/load_metrics/thread_metrics_enabled", "0\n");
		put("proc/cgroup_metrics/cgroup_metrics_enabled", "1\n");
		put("proc/morva_sched_healthinfo/sched_healthinfo_enable", "1\n");
		put(kLoad, load_header(9, 1, {}));
		put(kHealth, health_interval({}));
		put(kHealthReport, health_report({{}}));
	}

	/*
	 * Runs zemctl with @arguments. @file is a pipe for the first reading, which ends with the
	 * writer of the pipe. It then has the text @second. SIGINT ends the interval; before, the
	 * child of the shell must have become zemctl and have installed its handlers.
	 */
	Result run_twice(const std::string &arguments, const std::string &file,
			 const std::string &second) const
	{
		fs::rename(root / file, root / "first");
		put("second", second);
		return shell("mkfifo " + file +
			     "\n"
			     "$zemctl " +
			     arguments +
			     " --seconds 1000 & pid=$!\n"
			     "cat first >" +
			     file + "; mv second " + file +
			     "\n"
			     "until grep -q ^zemctl /proc/$pid/comm &&\n"
			     "	grep -q '^SigCgt:.*[2367abef]$' /proc/$pid/status; do sleep 0.02; "
			     "done\n"
			     "kill -INT $pid; wait $pid");
	}

	static std::string some_load()
	{
		return load_header(5'000'000'000, 1'234'567'890, {20000, 45411, 0, 90000}) +
		       load_line(1, 0, "init", 1, "", 100, 7) +
		       load_line(300, 1, "a b: c", 300, "com.example.app", 22706, 5) +
		       load_line(41, 0, "esc\x1b[1m", 41, "", 100, 9);
	}
};

} // namespace

TEST_F(LoadCommandTest, load_shows_the_window_between_its_two_readings)
{
	put(kLoad, load_header(1, 1, {7}) + load_line(5, 0, "earlier", 5, "", 1, 1));
	const Result result = run_twice("load --ascii", kLoad, some_load());
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(
		result.out,
		"in 1.2 s\n"
		"\n"
		"      cpu0     20000     44 %  ###########\n"
		"      cpu1     45411    100 %  #########################\n"
		"      cpu2         0      0 %\n"
		"      cpu3     90000    198 %  #################################################\n"
		"\n"
		"     USAGE     %    COMBINED     %      PID  MARK  NAME             PACKAGE\n"
		"     22706    50           5     0      300  *     a b: c           "
		"com.example.app\n"
		"       100     0           9     0       41  -     esc\\x1b[1m       -\n"
		"       100     0           7     0        1  -     init             -\n");
}

TEST_F(LoadCommandTest, a_bar_of_full_capacity_ends_at_the_terminals_edge)
{
	put(kLoad, load_header(2, 1, {45411, 22705}));
	EXPECT_EQ(shell("COLUMNS=71 $zemctl load --ascii --seconds 0.001").out,
		  "in 0.0 s\n"
		  "\n"
		  "      cpu0     45411    100 %  ########################################\n"
		  "      cpu1     22705     49 %  ####################\n"
		  "\n"
		  "     USAGE     %    COMBINED     %      PID  MARK  NAME             PACKAGE\n");
	EXPECT_NE(shell("LC_ALL=C.UTF-8 $zemctl load --seconds 0.001").out.find("█"),
		  std::string::npos);
}

TEST_F(LoadCommandTest, tables_end_at_the_edge_of_a_terminal_and_nowhere_else)
{
	put(kLoad,
	    load_header(2, 1, {}) + load_line(300, 1, "name", 300, "com.example.app", 10, 5));
	const std::string row = "        10     0           5     0      300  *     name";
	EXPECT_NE(on_terminal(60, "load --seconds 0.001").find("\n" + row + "    …\n"),
		  std::string::npos);
	EXPECT_NE(shell("COLUMNS=60 $zemctl load --seconds 0.001").out.find("com.example.app\n"),
		  std::string::npos);
}

TEST_F(LoadCommandTest, load_of_threads_shows_their_groups)
{
	put(kLoad, load_header(2, 1, {}) + load_line(10, 0, "main", 10, "p", 500, 1) +
			   load_line(11, 0, "worker", 10, "p", 0, 800) +
			   load_line(12, 0, "orphan", -1, "p", 0, 900));
	EXPECT_EQ(
		run("load --ascii --seconds 0.001").out,
		"in 0.0 s\n"
		"\n"
		"\n"
		"     USAGE     %    COMBINED     %     TGID      PID  MARK  NAME             "
		"PACKAGE\n"
		"       500     1           1     0       10       10  -     main             p\n"
		"         0     0         900     1       -1       12  -     orphan           p\n"
		"         0     0         800     1       10       11  -     worker           p\n");
}

TEST_F(LoadCommandTest, top_limits_the_rows)
{
	std::string text = load_header(2, 1, {});
	for (unsigned int pid = 1; pid <= 25; pid++)
		text += load_line(pid, 0, "task", static_cast<int>(pid), "", pid, 0);
	put(kLoad, text);
	const Result usual = run("load --seconds 0.001");
	EXPECT_NE(usual.out.find(
			  "         6     0           0     0        6  -     task           "
			  "  -\nand 5 more\n"),
		  std::string::npos)
		<< usual.out;
	EXPECT_NE(run("load --seconds 0.001 --top 1").out.find("\nand 24 more\n"),
		  std::string::npos);
	EXPECT_EQ(run("load --seconds 0.001 --top 25").out.find("more"), std::string::npos);
	EXPECT_EQ(nlohmann::json::parse(run("load --seconds 0.001 --json").out)["tasks"].size(),
		  25u);
	const auto top = nlohmann::json::parse(run("load --seconds 0.001 --json --top 2").out);
	ASSERT_EQ(top["tasks"].size(), 2u);
	EXPECT_EQ(top["tasks"][1]["pid"], 24);
}

TEST_F(LoadCommandTest, load_as_json)
{
	put(kLoad, some_load());
	const Result result = run("load --seconds 0.001 --json");
	EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_EQ(object["schema"], "zemctl.load");
	EXPECT_EQ(object["interval_ns"], 1234567890);
	EXPECT_EQ(object["end_monotonic_ns"], "5000000000");
	EXPECT_EQ(object["capacity_full"], 45411);
	ASSERT_EQ(object["cpus"].size(), 4u);
	EXPECT_EQ(object["cpus"][3],
		  nlohmann::json({{"cpu", 3}, {"usage", 90000}, {"usage_percent", 198}}));
	ASSERT_EQ(object["tasks"].size(), 3u);
	EXPECT_EQ(object["tasks"][0], nlohmann::json({{"pid", 300},
						      {"tgid", 300},
						      {"leader_flag", 1},
						      {"comm", "a b: c"},
						      {"package", "com.example.app"},
						      {"usage", 22706},
						      {"usage_percent", 50},
						      {"combined", 5},
						      {"combined_percent", 0}}));
	EXPECT_EQ(object["tasks"][1]["comm"], "esc\x1b[1m");
}

TEST_F(LoadCommandTest, load_without_tasks_is_an_empty_list)
{
	const auto object = nlohmann::json::parse(run("load --seconds 0.001 --json").out);
	EXPECT_EQ(object["cpus"], nlohmann::json::array());
	EXPECT_EQ(object["tasks"], nlohmann::json::array());
}

TEST_F(LoadCommandTest, load_says_that_the_counting_is_off)
{
	put("proc/load_metrics/load_metrics_enabled", "0\n");
	const Result result = run("load --seconds 0.001");
	EXPECT_EQ(result.err, "zemctl: load is off: the usage of processes is not counted; zemctl "
			      "set metrics load on switches it on\n");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.out.find("in 0.0 s\n"), 0u);
}

TEST_F(LoadCommandTest, load_that_fails_names_the_file)
{
	put(kLoad, "");
	EXPECT_EQ(run("load --seconds 0.001").err,
		  "zemctl: proc/load_metrics/load_metrics: not understood: \"\"\n");
	put(kLoad, load_header(2, 1, {}) + "pid:\x1b\n");
	const Result result = run("load --seconds 0.001");
	EXPECT_EQ(result.err,
		  "zemctl: proc/load_metrics/load_metrics: not understood: \"pid:\\x1b\"\n");
	EXPECT_EQ(result.out, "");
	EXPECT_EQ(result.status, 1);
	fs::remove(root / kLoad);
	EXPECT_EQ(run("load").err, "zemctl: proc/load_metrics/load_metrics: not there: the zem "
				   "module is not loaded\n");
}

TEST_F(LoadCommandTest, health_shows_the_interval_between_its_two_readings)
{
	put(kHealth, health_interval({9, 9, 9}));
	const Result result =
		run_twice("health", kHealth,
			  health_interval({1'234'567'890, 5000, 0, 1, UINT64_MAX, 1'000'000}));
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.out.substr(0, 3), "in ");
	EXPECT_EQ(result.out.substr(result.out.find("\n\n")),
		  "\n\n"
		  "GROUP       RUN DELAY ms      D STATE IO ms    D STATE ELSE ms\n"
		  "all             1234.567              0.005              0.000\n"
		  "root               0.000                  -              1.000\n"
		  "fg                 0.000              0.000              0.000\n"
		  "top                0.000              0.000              0.000\n"
		  "bg                 0.000              0.000              0.000\n"
		  "sysbg              0.000              0.000              0.000\n"
		  "svp                0.000              0.000              0.000\n");
}

TEST_F(LoadCommandTest, health_as_json)
{
	put(kHealth, health_interval({1, 2, 3, 4, UINT64_MAX}));
	const Result result = run("health --seconds 0.001 --json");
	EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_EQ(object["schema"], "zemctl.health");
	EXPECT_GE(object["interval_ns"], 1'000'000);
	ASSERT_EQ(object["groups"].size(), 7u);
	EXPECT_EQ(object["groups"][0],
		  nlohmann::json(
			  {{"name", "all"}, {"lat_ns", 1}, {"d_io_ns", 2}, {"d_nonio_ns", 3}}));
	EXPECT_EQ(object["groups"][1]["lat_ns"], 4);
	EXPECT_EQ(object["groups"][1]["d_io_ns"], nullptr);
}

TEST_F(LoadCommandTest, health_in_all_takes_nothing_from_the_interval)
{
	HealthSums sums = {};
	sums[0] = 3'000'000;
	sums[20] = 4'000'000;
	put(kHealthReport, health_report({sums, sums}));
	fs::remove(root / kHealth);
	const Result result = run("health --total");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.out, "since the sums started\n"
			      "\n"
			      "GROUP       RUN DELAY ms      D STATE IO ms    D STATE ELSE ms\n"
			      "all                6.000              0.000              0.000\n"
			      "root               0.000              0.000              0.000\n"
			      "fg                 0.000              0.000              0.000\n"
			      "top                0.000              0.000              0.000\n"
			      "bg                 0.000              0.000              0.000\n"
			      "sysbg              0.000              0.000              0.000\n"
			      "svp                0.000              0.000              8.000\n");
	const auto object = nlohmann::json::parse(run("health --total --json").out);
	EXPECT_EQ(object["interval_ns"], nullptr);
	EXPECT_EQ(object["group_totals"][6]["d_nonio_total_ns"], "8000000");
	sums[1] = UINT64_MAX;
	put(kHealthReport, health_report({sums}));
	const auto reset = nlohmann::json::parse(run("health --total --json").out);
	EXPECT_EQ(reset["group_totals"][0]["d_io_total_ns"], nullptr);
}

TEST_F(LoadCommandTest, health_says_that_the_kernel_keeps_no_schedstats)
{
	const std::string words =
		"zemctl: kernel.sched_schedstats is 0: waits and D states stay 0; "
		"sysctl kernel.sched_schedstats=1 switches it on\n";
	put("proc/sys/kernel/sched_schedstats", "0\n");
	EXPECT_EQ(run("health --seconds 0.001").err, words);
	EXPECT_EQ(run("health --seconds 0.001").status, 0);
	put("proc/sys/kernel/sched_schedstats", "1\n");
	EXPECT_EQ(run("health --seconds 0.001").err, "");
}

TEST_F(LoadCommandTest, health_says_that_the_counting_is_off)
{
	put("proc/morva_sched_healthinfo/sched_healthinfo_enable", "0\n");
	const std::string word = "zemctl: health is off: nothing is counted; zemctl set metrics "
				 "health on switches it on\n";
	EXPECT_EQ(run("health --seconds 0.001").err, word);
	EXPECT_EQ(run("health --total").err, word);
	EXPECT_EQ(run("health --total").status, 0);
}

TEST_F(LoadCommandTest, health_that_fails_names_the_file)
{
	put(kHealth, "");
	EXPECT_EQ(run("health").err, "zemctl: proc/cgroup_metrics/cgroup_metrics: ends before the "
				     "line of \"all\"\n");
	put(kHealthReport, "");
	EXPECT_EQ(run("health --total").err,
		  "zemctl: proc/morva_sched_healthinfo/sched_healthinfo: "
		  "the sums are missing\n");
	fs::remove_all(root / "proc");
	EXPECT_EQ(run("health").err, "zemctl: proc/cgroup_metrics/cgroup_metrics: not there: the "
				     "zem module is not loaded\n");
	EXPECT_EQ(run("health --total").status, 1);
}

TEST_F(LoadCommandTest, help_says_what_consumes)
{
	EXPECT_NE(run("load --help").out.find("consumes"), std::string::npos);
	EXPECT_NE(run("health --help").out.find("consumes"), std::string::npos);
}

TEST_F(LoadCommandTest, status_shows_all_switches)
{
	put("proc/svp_metrics/svp_metrics_enabled", "1\n");
	put("proc/sched_metrics/sched_metrics_enabled", "1\n");
	EXPECT_NE(run("status").out.find("\nmetrics      svp on, sched on, load on, load-report "
					 "off, threads off, cgroup on, health on\n"),
		  std::string::npos);
	fs::remove_all(root / "proc/load_metrics");
	EXPECT_NE(run("status").out.find("\nmetrics      svp on, sched on, cgroup on, health on\n"),
		  std::string::npos);
	EXPECT_EQ(nlohmann::json::parse(run("status --json").out)["metrics"],
		  nlohmann::json({{"svp", true},
				  {"sched", true},
				  {"load", nullptr},
				  {"load-report", nullptr},
				  {"threads", nullptr},
				  {"cgroup", true},
				  {"health", true}}));
}

TEST_F(LoadCommandTest, set_metrics_reaches_every_switch)
{
	for (const auto &[name, file] :
	     {std::pair<const char *, const char *>{"load", "load_metrics/load_metrics_enabled"},
	      {"load-report", "load_metrics/load_metrics_report"},
	      {"threads", "load_metrics/thread_metrics_enabled"},
	      {"cgroup", "cgroup_metrics/cgroup_metrics_enabled"},
	      {"health", "morva_sched_healthinfo/sched_healthinfo_enable"}}) {
		const std::string path = std::string("proc/") + file;
		EXPECT_EQ(run(std::string("set metrics ") + name + " on").status, 0);
		EXPECT_EQ(get(path), "1\n") << name;
		EXPECT_EQ(run(std::string("set metrics ") + name + " off").status, 0);
		EXPECT_EQ(get(path), "0\n") << name;
	}
}

TEST_F(LoadCommandTest, usage_errors_have_status_2)
{
	for (const char *arguments :
	     {"load extra", "load --top 0", "load --top -1", "load --top x", "load --top 1.5",
	      "load --seconds 0", "load --json --ascii", "health extra", "health --seconds 0",
	      "health --total --seconds 1", "set metrics load maybe"}) {
		const Result result = run(arguments);
		EXPECT_EQ(result.status, 2) << arguments << ": " << result.err;
		EXPECT_EQ(result.out, "") << arguments;
	}
}

} // namespace zemctl
