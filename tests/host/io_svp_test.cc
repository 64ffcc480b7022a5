// SPDX-License-Identifier: GPL-2.0
/* IO of SVP tasks: which tasks have counters, and the classes of waits. */
#include <cstring>

#include "host/io_fixture.h"

namespace test {

using ::testing::ElementsAreArray;

namespace {

/* A hook with counters of a task. */
struct Source {
	const char *name;
	void (*raise)(sim::Kernel &kernel, sim::Task *task, const bio &submitted);
};

const std::vector<Source> kSources{
	{"bio",
	 [](sim::Kernel &kernel, sim::Task *, const bio &submitted) {
		 bio done = submitted;
		 kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	 }},
	{"iowait",
	 [](sim::Kernel &kernel, sim::Task *task, const bio &) {
		 kernel.hooks.vh_sched_stat_blocked(task, 5000);
	 }},
	{"rchar",
	 [](sim::Kernel &kernel, sim::Task *task, const bio &) {
		 kernel.hooks.task_rchar(nullptr, task, 100);
	 }},
	{"wchar",
	 [](sim::Kernel &kernel, sim::Task *task, const bio &) {
		 kernel.hooks.task_wchar(nullptr, task, 100);
	 }},
};

} /* namespace */

class Qualification : public SvpIoTest,
		      public ::testing::WithParamInterface<std::tuple<Source, Lack>> {
protected:
	void raise()
	{
		std::get<Source>(GetParam()).raise(kernel, task, make_bio({.submitter = 321}));
	}
};

TEST_P(Qualification, needs_every_single_thing)
{
	find_devices();
	zem_svp_stats &counters = stats();
	std::get<Lack>(GetParam()).take_away(*task);
	raise();
	EXPECT_TRUE(is_clear(counters));

	task->fields.svp = -1;
	task->fields.orig_svp = 3;
	task->record.svp_marker = 1;
	sim::Platform::set_record(*task, &task->record);
	raise();
	EXPECT_FALSE(is_clear(counters));
}

INSTANTIATE_TEST_SUITE_P(SvpIo, Qualification,
			 ::testing::Combine(::testing::ValuesIn(kSources),
					    ::testing::ValuesIn(kLacks)),
			 [](const auto &info) {
				 return std::string(std::get<Source>(info.param).name) +
					"_without_" + std::get<Lack>(info.param).name;
			 });

class SvpSources : public SvpIoTest, public ::testing::WithParamInterface<Source> {};

TEST_P(SvpSources, pass_over_a_task_without_counters)
{
	find_devices();
	sim::Task &bare = kernel.platform.make_task({.pid = 400});
	bare.record.svp_marker = 1;
	bare.fields.in_iowait = true;
	GetParam().raise(kernel, &bare, make_bio({.submitter = 400}));
	EXPECT_EQ(bare.record.svp_stats, nullptr);
}

TEST_P(SvpSources, pass_over_no_task)
{
	find_devices();
	GetParam().raise(kernel, nullptr, make_bio({.submitter = 0}));
	GetParam().raise(kernel, nullptr, make_bio({.submitter = -1}));
	GetParam().raise(kernel, nullptr, make_bio({.submitter = 999}));
	EXPECT_TRUE(is_clear(stats()));
}

INSTANTIATE_TEST_SUITE_P(SvpIo, SvpSources, ::testing::ValuesIn(kSources),
			 [](const auto &info) { return std::string(info.param.name); });

class SvpBios : public SvpIoTest {
protected:
	void SetUp() override
	{
		SvpIoTest::SetUp();
		find_devices();
	}
};

TEST_F(SvpBios, reads_and_writes_have_bytes_time_and_a_count)
{
	complete({.operation = kReadBio, .latency = 5000, .pages = 3, .submitter = 321});
	complete({.operation = kReadBio, .latency = 7, .pages = 1, .submitter = 321});
	complete({.operation = kWriteBio | kSyncFlag,
		  .latency = 900,
		  .pages = 511,
		  .submitter = 321});
	zem_svp_stats expected{};
	expected.bio_read_size = 4 * 4096;
	expected.bio_read_time = 5007;
	expected.bio_read_cnt = 2;
	expected.bio_write_size = 511 * 4096;
	expected.bio_write_time = 900;
	expected.bio_write_cnt = 1;
	EXPECT_EQ(memcmp(&expected, &stats(), sizeof(expected)), 0);
}

TEST_F(SvpBios, count_even_when_they_are_too_fast_for_the_histogram)
{
	complete({.operation = kWriteBio, .latency = 2, .pages = 3, .submitter = 321});
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_EQ(stats().bio_write_size, 3U * 4096);
	EXPECT_EQ(stats().bio_write_time, 2U);
	EXPECT_EQ(stats().bio_write_cnt, 1U);
}

TEST_F(SvpBios, have_their_time_while_the_stamp_wraps)
{
	step_past_the_stamp_s_wrap(2 * kMs);
	complete({.operation = kReadBio, .latency = 5 * kMs, .submitter = 321});
	complete({.operation = kWriteBio, .latency = 2 * kMs + 1, .submitter = 321});
	EXPECT_EQ(stats().bio_read_time, 5 * kMs);
	EXPECT_EQ(stats().bio_write_time, 2 * kMs + 1);
}

TEST_F(SvpBios, count_only_for_a_task_that_waits_for_io)
{
	task->fields.in_iowait = false;
	complete({.submitter = 321});
	EXPECT_TRUE(is_clear(stats()));
}

TEST_F(SvpBios, first_process_of_all_can_submit_them)
{
	sim::Task &first = kernel.platform.make_task({.pid = 1});
	first.record.svp_marker = 1;
	first.fields.in_iowait = true;
	static_cast<void>(kernel.platform.stats(first));
	complete({.submitter = 1});
	EXPECT_EQ(kernel.platform.stats(first).bio_read_cnt, 1U);
}

TEST_F(SvpBios, discards_and_other_devices_do_not_count)
{
	complete({.operation = kDiscardBio, .submitter = 321});
	bio done = make_bio({.submitter = 321});
	done.device = &kernel.blocks.add("/dev/other", 8, 1, "other");
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_TRUE(is_clear(stats()));
}

TEST_F(SvpBios, task_that_exits_meanwhile_is_not_touched_after_it)
{
	kernel.faults.at("find_task", [this] { kernel.platform.exit(*task); });
	complete({.submitter = 321});
	complete({.submitter = 321});
	EXPECT_EQ(kernel.platform.tasks(), 0U);
}

class Iowaits : public SvpIoTest {
protected:
	void wait(u64 ns) { kernel.hooks.vh_sched_stat_blocked(task, ns); }

	void SetUp() override
	{
		SvpIoTest::SetUp();
		kernel.platform.set_starting(0, 0);
	}
};

struct Edge {
	size_t index;
	u64 shortest;
	u64 longest;
};

class IowaitClasses : public Iowaits, public ::testing::WithParamInterface<Edge> {};

TEST_P(IowaitClasses, are_bounded_by_their_edges)
{
	wait(GetParam().shortest);
	wait(GetParam().longest);
	for (size_t i = 0; i < 7; i++)
		EXPECT_EQ(stats().iowait_duration[i], i == GetParam().index ? 2U : 0U) << i;
	EXPECT_EQ(stats().iowait_total, GetParam().shortest + GetParam().longest);
	EXPECT_EQ(stats().iowait_total_cnt, 2U);
}

INSTANTIATE_TEST_SUITE_P(SvpIo, IowaitClasses,
			 ::testing::Values(Edge{0, 0, 999'999}, Edge{1, 1'000'000, 2'999'999},
					   Edge{2, 3'000'000, 9'999'999},
					   Edge{3, 10'000'000, 19'999'999},
					   Edge{4, 20'000'000, 49'999'999},
					   Edge{5, 50'000'000, 99'999'999},
					   Edge{6, 100'000'000, 1ull << 62}),
			 [](const auto &info) { return std::to_string(info.param.index); });

TEST_F(Iowaits, of_a_task_that_does_not_wait_for_io_do_not_count)
{
	task->fields.in_iowait = false;
	wait(5000);
	EXPECT_TRUE(is_clear(stats()));
}

struct Starting {
	int first;
	int second;
	bool is_cold_start;
	bool is_long_ui_wait;
};

class StartingApps : public Iowaits, public ::testing::WithParamInterface<Starting> {};

TEST_P(StartingApps, decide_where_a_long_wait_of_the_ui_counts)
{
	task->record.flags = 0x1000;
	kernel.platform.set_starting(GetParam().first, GetParam().second);
	wait(6'000'000);
	EXPECT_EQ(stats().iowait_coldstart, GetParam().is_cold_start ? 6'000'000U : 0U);
	EXPECT_EQ(stats().iowait_coldstart_cnt, GetParam().is_cold_start ? 1U : 0U);
	EXPECT_EQ(stats().ui_iowait_long_cnt, GetParam().is_long_ui_wait ? 1U : 0U);
	EXPECT_EQ(stats().iowait_total_cnt, 1U);
}

INSTANTIATE_TEST_SUITE_P(SvpIo, StartingApps,
			 ::testing::Values(Starting{0, 0, false, true}, Starting{0, 1, false, true},
					   Starting{1, 0, false, false},
					   Starting{1, 1, true, false},
					   Starting{1, 2, false, false},
					   Starting{2, 1, false, false},
					   Starting{-1, 1, false, false}),
			 [](const auto &info) { return "case_" + std::to_string(info.index); });

TEST_F(Iowaits, long_ui_wait_begins_above_5000000_ns)
{
	task->record.flags = 0x1000;
	wait(5'000'000);
	EXPECT_EQ(stats().ui_iowait_long_cnt, 0U);
	wait(5'000'001);
	EXPECT_EQ(stats().ui_iowait_long_cnt, 1U);
}

TEST_F(Iowaits, long_ui_wait_counts_only_for_tasks_with_bit_12)
{
	task->record.flags = ~0x1000u;
	wait(6'000'000);
	EXPECT_EQ(stats().ui_iowait_long_cnt, 0U);
	task->record.flags = 0x1000;
	wait(6'000'000);
	EXPECT_EQ(stats().ui_iowait_long_cnt, 1U);
}

TEST_F(Iowaits, starting_apps_of_a_platform_that_says_nothing_are_none)
{
	kernel.platform.say_nothing_of_starting();
	task->record.flags = 0x1000;
	wait(6'000'000);
	EXPECT_EQ(stats().iowait_coldstart_cnt, 0U);
	EXPECT_EQ(stats().ui_iowait_long_cnt, 1U);
}

TEST_F(Iowaits, cold_start_counts_whatever_the_flags_and_the_length)
{
	kernel.platform.set_starting(1, 1);
	wait(7);
	task->record.flags = 0x1000;
	wait(0);
	EXPECT_EQ(stats().iowait_coldstart, 7U);
	EXPECT_EQ(stats().iowait_coldstart_cnt, 2U);
	EXPECT_EQ(stats().ui_iowait_long_cnt, 0U);
}

class Transfers : public SvpIoTest {};

TEST_F(Transfers, have_bytes_and_calls_for_the_hook_s_task)
{
	task->fields.in_iowait = false;
	kernel.hooks.task_rchar(nullptr, task, 0);
	kernel.hooks.task_rchar(nullptr, task, 1000);
	kernel.hooks.task_wchar(nullptr, task, 1LL << 40);
	kernel.hooks.task_wchar(nullptr, task, 0);
	kernel.hooks.task_wchar(nullptr, task, 1);
	zem_svp_stats expected{};
	expected.read_bytes = 1000;
	expected.read_syscall_cnt = 2;
	expected.write_bytes = (1ull << 40) + 1;
	expected.write_syscall_cnt = 3;
	EXPECT_EQ(memcmp(&expected, &stats(), sizeof(expected)), 0);
}

TEST_F(Transfers, that_failed_do_not_count)
{
	submit(10123);
	kernel.hooks.task_rchar(nullptr, task, -1);
	kernel.hooks.task_wchar(nullptr, task, -1);
	kernel.hooks.task_wchar(nullptr, task, std::numeric_limits<long long>::min());
	EXPECT_TRUE(is_clear(stats()));
	static_cast<void>(collect());
	const zem_kio kio = collect();
	EXPECT_EQ(kio.io_top[0].uid, 10123U);
	EXPECT_EQ(kio.io_top[0].value.awc, 0U);
	EXPECT_EQ(kio.io_top[0].read_calls, 0U);
}

} /* namespace test */
