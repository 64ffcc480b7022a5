// SPDX-License-Identifier: GPL-2.0
/* /proc/svp_metrics: the exact text, that reading consumes it, and the switch. */
#include <cerrno>

#include "host/svp_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

constexpr unsigned long long kHuge = ~0ULL;

void fill_with_ones(zem_svp_stats &stats)
{
	memset(&stats, 0xff, sizeof(stats));
}

} /* namespace */

class SvpProc : public SvpTest {};

TEST_F(SvpProc, directory_has_the_switch_and_the_tasks)
{
	EXPECT_THAT(kernel.proc.list("svp_metrics"),
		    ElementsAre(Pair("svp_metrics_enabled", 0644), Pair("svp_metrics", 0444)));
}

TEST_F(SvpProc, reads_empty_with_nobody_enrolled)
{
	EXPECT_EQ(read_proc(), "");
	EXPECT_TRUE(enrols(kernel.platform.make_task()));
	EXPECT_EQ(read_proc(), "") << "a task without counters";
}

TEST_F(SvpProc, text_is_exactly_so)
{
	sim::Task &leader = kernel.platform.make_task({.pid = 7});
	sim::Platform::set_package(leader, "com.example");
	sim::Task &task =
		enrolled({.pid = 8, .tgid = 7, .comm = "RenderThread", .leader = &leader});
	*task.record.svp_stats = {
		.run_delay = {1, 2, 3, 4},
		.run_delay_total = 5,
		.runtime = {6, 7, 8, 9},
		.runtime_total = 10,
		.d_state_duration = {11, 12, 13, 14},
		.d_state_duration_total = 15,
		.async_reclaim = {21, 22, 23, 24, 25, 26, 27},
		.async_compact = {31, 32, 33, 34, 35, 36, 37},
		.direct_reclaim = {41, 42, 43, 44, 45, 46, 47},
		.direct_compact = {51, 52, 53, 54, 55, 56, 57},
		.PG_locked = {61, 62, 63, 64, 65, 66, 67},
		.alloc_fail_order = {70, 71, 72, 73, 74, 75, 76, 77, 78, 79, 80},
		.iowait_total = 81,
		.iowait_total_cnt = 82,
		.reserved0 = 0,
		.iowait_coldstart = 83,
		.iowait_coldstart_cnt = 84,
		.iowait_duration = {91, 92, 93, 94, 95, 96, 97},
		.ui_iowait_long_cnt = 98,
		.reserved1 = 0,
		.read_bytes = 101,
		.read_syscall_cnt = 102,
		.reserved2 = 0,
		.write_bytes = 103,
		.write_syscall_cnt = 104,
		.reserved3 = 0,
		.bio_read_size = 105,
		.bio_read_time = 106,
		.bio_read_cnt = 107,
		.reserved4 = 0,
		.bio_write_size = 108,
		.bio_write_time = 109,
		.bio_write_cnt = 110,
		.reserved5 = 0,
	};
	EXPECT_EQ(
		read_proc(),
		"---------------- svp common info ----------------\n"
		"tgid: 7\n"
		"pid: 8\n"
		"thread_name: RenderThread\n"
		"package_name: com.example\n"
		"---------------- svp sched information ----------------\n"
		"run_delay_total: 5\n"
		"run_delay[]: 1, 2, 3, 4, \n"
		"runtime_total: 10\n"
		"runtime[]: 6, 7, 8, 9, \n"
		"d_state_duration_total: 15\n"
		"d_state_duration[]: 11, 12, 13, 14, \n"
		"\n"
		"\n"
		"---------------- svp memory information ----------------\n"
		"page allocation failure order: [0]=70, [1]=71, [2]=72, [3]=73, [4]=74, [5]=75, "
		"[6]=76, [7]=77, [8]=78, [9]=79, [10]=80, \n"
		"\n"
		"type            [0,1ms) [1,8)ms     [8,16)ms    [16,33)ms   [33,67)ms   "
		"[67,134)ms  [>=134ms)\n"
		"async_reclaim:  21          22          23          24          25          26    "
		"      27          \n"
		"async_compact:  31          32          33          34          35          36    "
		"      37          \n"
		"direct_reclaim: 41          42          43          44          45          46    "
		"      47          \n"
		"direct_compact: 51          52          53          54          55          56    "
		"      57          \n"
		"PG_locked:      61          62          63          64          65          66    "
		"      67          \n"
		"\n"
		"\n"
		"------------------ svp io information ------------------\n"
		"iowait_total: 81 iowait_total_cnt: 82\n"
		"iowait_duration[]: 91, 92, 93, 94, 95, 96, 97, iowait_coldstart: 83 "
		"iowait_coldstart_cnt 84\n"
		"ui_iowait_long_cnt: 98\n"
		"read_bytes:  101 read_syscall_cnt:  102\n"
		"write_bytes: 103 write_syscall_cnt: 104\n"
		"bio_read_size: 105 bio_read_time: 106 bio_read_cnt: 107\n"
		"bio_write_size: 108 bio_write_time: 109 bio_write_cnt: 110\n"
		"\n"
		"\n");
}

TEST_F(SvpProc, huge_values_are_printed_as_signed)
{
	sim::Task &task = enrolled();
	fill_with_ones(*task.record.svp_stats);
	task.record.svp_stats->run_delay_total = kHuge >> 1;
	task.record.svp_stats->runtime[3] = 0x7fffffff;
	const std::string text = read_proc();
	using ::testing::HasSubstr;
	EXPECT_THAT(text, HasSubstr("\nrun_delay_total: 9223372036854775807\n"
				    "run_delay[]: -1, -1, -1, -1, \n"
				    "runtime_total: -1\n"
				    "runtime[]: -1, -1, -1, 2147483647, \n"));
	EXPECT_THAT(text, HasSubstr("PG_locked:      -1          -1          -1          "
				    "-1          -1          -1          -1          \n"));
	EXPECT_THAT(text, HasSubstr("\nbio_write_size: -1 bio_write_time: -1 bio_write_cnt: -1\n"));
	EXPECT_TRUE(text.ends_with("cnt: -1\n\n\n"));
}

/* Each field has its maximum length. Covers the bound of a text, and a buffer with room for two. */
TEST_F(SvpProc, longest_text_fits_its_bound_and_none_is_lost_at_the_end_of_a_buffer)
{
	constexpr size_t kLongestUnit = 2304;
	sim::Task &leader = kernel.platform.make_task({.pid = -2147483647});
	sim::Platform::set_package(leader, std::string(31, 'p'));
	for (int i = 0; i < 20; i++) {
		sim::Task &task = enrolled(
			{.pid = -2147483647 + i, .comm = "fifteen letters", .leader = &leader});
		memset(task.record.svp_stats, 0x80, sizeof(zem_svp_stats));
	}
	const std::string text = read_proc();
	EXPECT_THAT(pids_in(text), SizeIs(20));
	EXPECT_LT(text.size(), 20 * kLongestUnit);
	EXPECT_GT(text.size(), 20 * kLongestUnit * 9 / 10) << "the longest text is not tested";
}

TEST_F(SvpProc, reading_consumes_and_so_does_an_upload)
{
	sim::Task &task = enrolled();
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(1000));
	EXPECT_EQ(read_proc(), "");
	EXPECT_THAT(collect(), IsEmpty());
	depart(task);
	EXPECT_THAT(collect_pids(), ElementsAre(1000));
	EXPECT_EQ(read_proc(), "");
}

class SvpProcSizes : public SvpProc, public ::testing::WithParamInterface<int> {};

TEST_P(SvpProcSizes, text_of_many_tasks_loses_no_task_and_no_count)
{
	std::vector<int> pids;
	for (int pid = GetParam(); pid > 0; pid--) {
		enrolled({.pid = pid}).record.svp_stats->read_bytes =
			static_cast<unsigned long long>(pid) + 1'000'000;
		pids.insert(pids.begin(), pid);
	}
	const std::string text = read_proc();
	EXPECT_EQ(pids_in(text), pids);
	for (const int pid : pids)
		EXPECT_NE(text.find("\nread_bytes:  " + std::to_string(pid + 1'000'000) + " "),
			  std::string::npos)
			<< pid;
	EXPECT_EQ(kernel.proc.repeated_shows(), 0U);
	EXPECT_EQ(read_proc(), "");
}

INSTANTIATE_TEST_SUITE_P(SvpProc, SvpProcSizes, ::testing::Values(1, 3, 4, 50, 300));

TEST_F(SvpProc, read_that_gets_no_memory_consumes_nothing)
{
	for (const int pid : {3, 2, 1})
		static_cast<void>(enrolled({.pid = pid}));
	kernel.faults.fail("seq_buf_alloc");
	EXPECT_EQ(read_proc(), "error -12");
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(1, 2, 3));
}

TEST_F(SvpProc, switch_shows_and_takes_its_first_byte)
{
	const auto reads = [this] {
		return read_proc("svp_metrics_enabled");
	};
	EXPECT_EQ(reads(), "1\n");
	EXPECT_EQ(switch_to("0"), 1);
	EXPECT_EQ(reads(), "0\n");
	EXPECT_EQ(switch_to("1\n"), 2);
	EXPECT_EQ(reads(), "1\n");
	EXPECT_EQ(switch_to("0abc"), 4);
	EXPECT_EQ(reads(), "0\n");
	EXPECT_EQ(switch_to("1abc"), 4);
	EXPECT_EQ(switch_to("1"), 1);
	EXPECT_EQ(reads(), "1\n");
}

TEST_F(SvpProc, switch_refuses_anything_else_with_EFAULT)
{
	for (const char *text : {"", "x", "2", " 1", "\n", "-1"})
		EXPECT_EQ(switch_to(text), -EFAULT) << text;
	EXPECT_EQ(kernel.proc.write_faulting("svp_metrics/svp_metrics_enabled", 1), -EFAULT);
	EXPECT_EQ(read_proc("svp_metrics_enabled"), "1\n");
	EXPECT_EQ(kernel.proc.write("svp_metrics/svp_metrics", "1"), -EIO);
}

TEST_F(SvpProc, switch_does_not_hide_the_listed)
{
	static_cast<void>(enrolled());
	switch_to("0");
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(1000));
}

} /* namespace test */
