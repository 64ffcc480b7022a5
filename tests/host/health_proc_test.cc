// SPDX-License-Identifier: GPL-2.0
/* /proc/morva_sched_healthinfo: the switch, the exact report, and working without the files. */
#include <cerrno>

#include "host/health_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

/* The text of a CPU without events. */
const std::string kIdleBlock =
	"total_lat:            0  total_d_io:            0  total_d_nonio:            0 \n"
	"root_lat:             0  root_d_io:             0  root_d_nonio:             0 \n"
	"fg_lat:               0  fg_d_io:               0  fg_d_nonio:               0 \n"
	"top_lat:              0  top_d_io:              0  top_d_nonio:              0 \n"
	"bg_lat:               0  bg_d_io:               0  bg_d_nonio:               0 \n"
	"sysbg_lat:            0  sysbg_d_io:            0  sysbg_d_nonio:            0 \n"
	"svp_lat:              0  svp_d_io:              0  svp_d_nonio:              0 \n"
	"\n";

} /* namespace */

class HealthProc : public HealthTest {
protected:
	using HealthTest::HealthTest;
};

TEST_F(HealthProc, directory_has_the_switch_and_the_report)
{
	EXPECT_THAT(kernel.proc.list("morva_sched_healthinfo"),
		    ElementsAre(Pair("sched_healthinfo_enable", 0644),
				Pair("sched_healthinfo", 0644)));
	EXPECT_EQ(write_proc("morva_sched_healthinfo/sched_healthinfo", "1"), -EIO);
}

TEST_F(HealthProc, switch_is_on_at_load_and_any_number_but_0_reads_as_1)
{
	EXPECT_EQ(enabled(), "1\n");
	for (const std::string text : {"7", "1\n", "+2", "4294967295", "010"}) {
		EXPECT_EQ(write_enable("0\n"), 2);
		EXPECT_EQ(enabled(), "0\n");
		EXPECT_THAT(log(), IsEmpty());
		EXPECT_EQ(write_enable(text), static_cast<ssize_t>(text.size()));
		EXPECT_EQ(enabled(), "1\n") << text;
		EXPECT_EQ(log(), found_groups());
	}
}

TEST_F(HealthProc, switch_refuses_what_is_no_number_and_stays)
{
	for (const std::string state : {"1", "0"}) {
		EXPECT_EQ(write_enable(state), 1);
		static_cast<void>(log());
		sim::Task &task = task_in(1);
		wait(&task, 5);
		const Sums before = sums();
		for (const char *text : {"", "\n", "x", " 1", "1 ", "-1", "1\n\n", "0x1", "1.5"})
			EXPECT_EQ(write_enable(text), -EINVAL) << text;
		EXPECT_EQ(write_enable("4294967296"), -ERANGE);
		EXPECT_EQ(write_enable("99999999999999999999"), -ERANGE);
		EXPECT_EQ(kernel.proc.write_faulting(
				  "morva_sched_healthinfo/sched_healthinfo_enable", 1),
			  -EFAULT);
		EXPECT_EQ(enabled(), state + "\n");
		EXPECT_EQ(sums(), before);
		EXPECT_THAT(log(), IsEmpty());
	}
}

TEST_F(HealthProc, text_longer_than_any_number_is_cut_and_taken_whole)
{
	EXPECT_EQ(write_enable("0"), 1);
	EXPECT_EQ(write_enable(std::string(33, '0') + "1junk"), 38);
	EXPECT_EQ(enabled(), "1\n");
	EXPECT_EQ(log(), found_groups());
}

TEST_F(HealthProc, switched_off_nothing_is_added_and_the_report_stays_readable)
{
	sim::Task &task = task_in(kForegroundId, 1);
	wait(&task, 5);
	const std::string before = report();
	EXPECT_EQ(write_enable("0"), 1);
	wait(&task, 6);
	block(task, 7);
	EXPECT_EQ(report(), before);
	EXPECT_EQ(sum(Row::kForeground), (Triple{5, 0, 0}));
}

TEST_F(HealthProc, number_except_0_restarts_all_sums_even_while_they_are_recorded)
{
	for (const char *off : {"", "0"}) {
		sim::Task &task = task_in(kForegroundId, 1);
		for (unsigned int cpu = 0; cpu < 8; cpu++) {
			kernel.hooks.on_cpu(cpu).sched_stat_wait(&task, 1);
			block_for_io(task, 1);
			block(task, 1);
		}
		EXPECT_EQ(sum(Row::kSvp), (Triple{8, 8, 8}));
		if (*off) {
			EXPECT_EQ(write_enable(off), 1);
		}
		EXPECT_EQ(write_enable("7"), 1);
		EXPECT_EQ(sums(), Sums{});
		EXPECT_EQ(log(), found_groups());
		wait(&task, 3);
		EXPECT_EQ(sum(Row::kTotal), (Triple{3, 0, 0}));
		EXPECT_EQ(write_enable("1"), 1);
		static_cast<void>(log());
	}
}

class HealthProc2Cpus : public HealthProc {
protected:
	HealthProc2Cpus() : HealthProc({.cpus = 4, .absent_cpus = {1, 2}}) {}
};

TEST_F(HealthProc2Cpus, report_is_exactly_so)
{
	kernel.move_to_cpu(3);
	const int ids[] = {1, kForegroundId, kTopAppId, kBackgroundId, kSystemBackgroundId};
	u64 next = 1;
	for (const int id : ids) {
		sim::Task &task = task_in(id);
		wait(&task, next++);
		block_for_io(task, next++);
		block(task, next++);
	}
	sim::Task &svp = task_in(-1, 1);
	wait(&svp, 123'456'789'012);
	block_for_io(svp, 1'234'567'890'123);
	block(svp, ~0ULL - 1000);
	kernel.hooks.on_cpu(0).sched_stat_wait(&svp, 5);

	const std::string groups =
		"root_lat:             1  root_d_io:             2  root_d_nonio:             3 \n"
		"fg_lat:               4  fg_d_io:               5  fg_d_nonio:               6 \n"
		"top_lat:              7  top_d_io:              8  top_d_nonio:              9 \n"
		"bg_lat:              10  bg_d_io:              11  bg_d_nonio:              12 \n"
		"sysbg_lat:           13  sysbg_d_io:           14  sysbg_d_nonio:           15 \n";
	EXPECT_EQ(
		report(),
		"\nCPU0\n"
		"total_lat:            5  total_d_io:            0  total_d_nonio:            0 \n"
		"root_lat:             0  root_d_io:             0  root_d_nonio:             0 \n"
		"fg_lat:               0  fg_d_io:               0  fg_d_nonio:               0 \n"
		"top_lat:              0  top_d_io:              0  top_d_nonio:              0 \n"
		"bg_lat:               0  bg_d_io:               0  bg_d_nonio:               0 \n"
		"sysbg_lat:            0  sysbg_d_io:            0  sysbg_d_nonio:            0 \n"
		"svp_lat:              5  svp_d_io:              0  svp_d_nonio:              0 \n"
		"\n"
		"\nCPU3\n"
		"total_lat: 123456789047  total_d_io: 1234567890163  total_d_nonio: "
		"18446744073709550660 \n" +
			groups +
			"svp_lat:   123456789012  svp_d_io:   1234567890123  svp_d_nonio:   "
			"18446744073709550615 \n"
			"\n"
			"\n==================\n"
			"the sum of sched health information are:\n"
			"total_lat: 123456789052  total_d_io: 1234567890163  total_d_nonio: "
			"18446744073709550660 \n" +
			groups +
			"svp_lat:   123456789017  svp_d_io:   1234567890123  svp_d_nonio:   "
			"18446744073709550615 \n"
			"\n");
}

class HealthProc64Cpus : public HealthProc {
protected:
	HealthProc64Cpus() : HealthProc({.cpus = 64}) {}
};

TEST_F(HealthProc64Cpus, report_has_all_of_them_however_long_it_gets)
{
	sim::Task &task = task_in(-1);
	for (unsigned int cpu = 0; cpu < 64; cpu++)
		kernel.hooks.on_cpu(cpu).sched_stat_wait(&task, 1);
	std::string expected;
	std::string block = kIdleBlock;
	block[block.find('0')] = '1';
	for (int cpu = 0; cpu < 64; cpu++)
		expected += "\nCPU" + std::to_string(cpu) + "\n" + block;
	std::string total = kIdleBlock;
	total.replace(total.find('0') - 1, 2, "64");
	expected += "\n==================\nthe sum of sched health information are:\n" + total;
	EXPECT_EQ(report(), expected);
	EXPECT_GT(kernel.proc.repeated_shows(), 0U);
}

TEST_F(HealthProc, cpu_that_is_offline_stays_in_the_report_and_in_the_sum)
{
	wait(&task_in(1), 5);
	kernel.hooks.on_cpu(5).sched_stat_wait(&task_in(1), 70);
	const std::string before = report();
	EXPECT_THAT(before, HasSubstr("\nCPU5\ntotal_lat:           70 "));
	EXPECT_THAT(before, HasSubstr("are:\ntotal_lat:           75 "));
	kernel.cpus.set_online(5, false);
	EXPECT_EQ(report(), before);
	EXPECT_EQ(sum(Row::kRoot).lat, 75U);
	EXPECT_EQ(write_enable("1"), 1);
	EXPECT_EQ(log(), found_groups());
	EXPECT_EQ(sums(), Sums{}) << "its sums are restarted too";
}

TEST_F(HealthProc, reading_changes_nothing)
{
	wait(&task_in(1), 5);
	const std::string first = report();
	EXPECT_EQ(report(), first);
	EXPECT_EQ(sum(Row::kRoot).lat, 5U);
	EXPECT_THAT(kernel.proc.open("morva_sched_healthinfo/sched_healthinfo").read_all(100).data,
		    first);
}

struct FailingHealthFile {
	const char *call;
	unsigned int nth;
	const char *message;
	const char *name;
};

class FailingHealthFiles : public HealthTest,
			   public ::testing::WithParamInterface<FailingHealthFile> {
protected:
	/* The files of the load metrics are created before. */
	void SetUp() override
	{
		kernel.faults.at(
			"proc_create_seq_private",
			[&] { kernel.faults.fail(GetParam().call, GetParam().nth); }, 2);
		discovery.push_back(sim::err(GetParam().message));
		HealthTest::SetUp();
	}
};

TEST_P(FailingHealthFiles, leave_none_and_the_sums_are_recorded)
{
	EXPECT_FALSE(kernel.proc.exists("morva_sched_healthinfo"));
	EXPECT_TRUE(kernel.proc.exists("cgroup_metrics/cgroup_metrics"));
	EXPECT_THAT(kernel.hooks.attached(), SizeIs(16));
	wait(&task_in(1), 5);
	EXPECT_EQ(sum(Row::kRoot).lat, 5U);
}

INSTANTIATE_TEST_SUITE_P(
	HealthProc, FailingHealthFiles,
	::testing::Values(FailingHealthFile{"proc_mkdir", 1,
					    "morva_sched_healthinfo: create procfs dir failed\n",
					    "directory"},
			  FailingHealthFile{"proc_create_data", 1,
					    "create sched_healthinfo_enable failed\n",
					    "switch_file"},
			  FailingHealthFile{"proc_create_data", 2,
					    "create sched_healthinfo failed\n", "report"}),
	[](const auto &info) { return std::string(info.param.name); });

class FailingHealthProbe : public HealthTest, public ::testing::WithParamInterface<unsigned int> {
protected:
	/* The USB probe is registered before. */
	void SetUp() override
	{
		kernel.faults.at(
			"proc_create_seq_private",
			[&] { kernel.faults.fail("tracepoint_probe_register", 1 + GetParam()); },
			2);
		HealthTest::SetUp();
	}
};

/* The failure is ignored, but a missing probe is not unregistered either. */
TEST_P(FailingHealthProbe, leaves_the_other)
{
	sim::Task &task = task_in(1);
	wait(&task, 5);
	block(task, 7);
	EXPECT_EQ(sum(Row::kRoot), GetParam() == 1 ? (Triple{0, 0, 7}) : (Triple{5, 0, 0}));
	unload();
	EXPECT_THAT(kernel.problems.take(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(HealthProc, FailingHealthProbe, ::testing::Values(1U, 2U));

TEST_F(HealthProc, sums_begin_at_0_with_each_load)
{
	wait(&task_in(1), 5);
	unload();
	load();
	EXPECT_EQ(sums(), Sums{});
}

} /* namespace test */
