// SPDX-License-Identifier: GPL-2.0
/* The records of the cpu channel, and the window that they close. */
#include "host/load_fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class CpuLoad : public LoadTest {
protected:
	using LoadTest::LoadTest;

	/* Samples each CPU once, with its counter at 0. */
	void SetUp() override
	{
		LoadTest::SetUp();
		EXPECT_THAT(cpus(), SizeIs(8));
	}

	[[nodiscard]] std::vector<u64> usages(u64 ns = 1 * kMs)
	{
		std::vector<u64> found;
		for (const zem_cpu &cpu : cpus(ns))
			found.push_back(cpu.usage);
		return found;
	}
};

TEST_F(CpuLoad, record_has_every_field_at_its_place)
{
	kernel.load.set_activity(5, 0x1112'1314'1516'1718, kSmallScale);
	kernel.cpus.set_package(5, 0);
	const std::vector<Record> found = cycle(1);
	ASSERT_THAT(found, SizeIs(8));
	EXPECT_EQ(found[5].header.channel, 17);
	EXPECT_EQ(found[5].header.len, 24U);
	std::string expected(24, '\0');
	put(expected, 0, u32{5});
	put(expected, 8, u64{0x1112'1314'1516'1718});
	put(expected, 16, kSmallScale * 0x1112'1314'1516'1718 / kSmallScale);
	EXPECT_EQ(found[5].payload, expected);
	for (const size_t cpu : {0, 7}) {
		std::string idle(24, '\0');
		put(idle, 0, static_cast<u32>(cpu));
		EXPECT_EQ(found[cpu].payload, idle);
	}
}

TEST_F(CpuLoad, setter_gets_eight_records_in_the_order_of_the_cpus)
{
	step(1);
	const std::vector<SetterCall> calls = upload_cpus();
	ASSERT_THAT(calls, SizeIs(8));
	for (u32 cpu = 0; cpu < 8; cpu++) {
		EXPECT_EQ(calls[cpu].reserved, 0U);
		EXPECT_EQ(calls[cpu].sub_type, 0U);
		EXPECT_EQ(payload_of<zem_cpu>(calls[cpu].data).cpu, cpu);
	}
}

TEST_F(CpuLoad, usage_is_cycles_for_each_ns_at_the_scale_of_the_cpu_s_package)
{
	for (unsigned int cpu = 0; cpu < 8; cpu++)
		kernel.load.set_activity(cpu, 3000, 2000);
	kernel.cpus.set_package(2, 1);
	kernel.cpus.set_package(6, 0);
	const u64 small = kSmallScale * 3000 / 2000;
	const u64 big = kBigScale * 3000 / 2000;
	EXPECT_THAT(usages(), ElementsAre(small, small, big, small, big, big, small, big));
}

TEST_F(CpuLoad, usage_is_of_the_time_since_the_last_sample)
{
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_EQ(usages()[0], kSmallScale);
	kernel.load.set_activity(0, 1500, 2000);
	EXPECT_EQ(usages()[0], kSmallScale / 2);
	kernel.load.set_activity(0, 1500, 3000);
	EXPECT_EQ(usages()[0], 0U);
}

TEST_F(CpuLoad, time_base_that_stands_still_gives_no_usage_and_new_cycles)
{
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_EQ(usages()[0], kSmallScale);
	kernel.load.set_activity(0, 4000, 1000);
	const zem_cpu still = cpus()[0];
	EXPECT_EQ(still.cycles, 4000U);
	EXPECT_EQ(still.usage, 0U);
	/* Earlier cycles are not counted again. */
	kernel.load.set_activity(0, 5000, 2000);
	EXPECT_EQ(usages()[0], kSmallScale);
}

TEST_F(CpuLoad, time_base_that_goes_back_keeps_the_old_start)
{
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_EQ(usages()[0], kSmallScale);
	kernel.load.set_activity(0, 1000, 400);
	EXPECT_EQ(usages()[0], 0U);
	kernel.load.set_activity(0, 2000, 1100);
	EXPECT_EQ(usages()[0], kSmallScale * 1000 / 100) << "since 1000, not since 400";
}

TEST_F(CpuLoad, cycles_that_go_back_and_a_product_that_is_too_large_wrap)
{
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_EQ(usages()[0], kSmallScale);
	kernel.load.set_activity(0, 999, 1010);
	EXPECT_EQ(usages()[0], (0 - kSmallScale) / 10);
	kernel.load.set_activity(0, 999 + (1ULL << 63), 1011);
	EXPECT_EQ(usages()[0], kSmallScale << 63);
	kernel.load.set_activity(0, ~0ULL, ~0ULL);
	EXPECT_EQ(usages()[0], kSmallScale * (~0ULL - 999 - (1ULL << 63)) / (~0ULL - 1011));
}

/* A failed read leaves the values of the previous CPU. */
TEST_F(CpuLoad, cpu_that_cannot_be_read_has_the_counter_of_the_one_before)
{
	kernel.load.set_activity(2, 600, 300);
	for (const unsigned int cpu : {0, 3, 4})
		kernel.load.set_readable(cpu, false);
	const std::vector<zem_cpu> found = cpus();
	EXPECT_EQ(found[0].cycles, 0U);
	EXPECT_EQ(found[0].usage, 0U);
	EXPECT_EQ(found[3].cycles, 600U);
	EXPECT_EQ(found[3].usage, kSmallScale * 2);
	EXPECT_EQ(found[4].cycles, 600U);
	EXPECT_EQ(found[4].usage, kBigScale * 2);
	EXPECT_EQ(found[5].cycles, 0U);
}

TEST_F(CpuLoad, window_runs_from_one_upload_to_the_next)
{
	const u64 start = wallclock();
	EXPECT_THAT(cpus(123'456), SizeIs(8));
	EXPECT_EQ(wallclock(), start + 123'456);
	EXPECT_EQ(start_time(), start);
	EXPECT_EQ(delta(), 123'456U);
	EXPECT_THAT(cpus(1), SizeIs(8));
	EXPECT_EQ(start_time(), start + 123'456);
	EXPECT_EQ(delta(), 1U);
}

TEST_F(CpuLoad, second_upload_in_the_same_ns_samples_and_sends_nothing)
{
	sim::Task &task = make_task(10);
	give_load(task, 5);
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_THAT(cycle(0), IsEmpty());
	EXPECT_EQ(delta(), 0U);
	/* The whole increase is still reported. */
	kernel.load.set_activity(0, 2000, 1000);
	const std::vector<Record> found = cycle(1);
	ASSERT_THAT(found, SizeIs(9));
	EXPECT_EQ(payload_of<zem_cpu>(found[0].payload).usage, kSmallScale * 2);
	EXPECT_EQ(payload_of<zem_load>(found[8].payload).combined, 5U);
}

TEST_F(CpuLoad, clock_that_goes_back_makes_a_window_that_wraps)
{
	step(0 - 5 * kMs);
	EXPECT_THAT(cycle(0), SizeIs(8));
	EXPECT_EQ(delta(), 0 - 5 * kMs);
}

TEST_F(CpuLoad, with_the_report_off_cpus_are_sampled_and_nothing_is_sent)
{
	set_switch("load_metrics_report", false);
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_THAT(cycle(1 * kMs), IsEmpty());
	EXPECT_EQ(delta(), 1 * kMs);
	set_switch("load_metrics_report", true);
	kernel.load.set_activity(0, 1100, 2000);
	EXPECT_EQ(usages()[0], kSmallScale / 10);
}

TEST_F(CpuLoad, null_setter_samples_and_sends_nothing)
{
	kernel.load.set_activity(0, 1000, 1000);
	step(1);
	inside().upload_cpus(nullptr);
	EXPECT_EQ(delta(), 1U);
	kernel.load.set_activity(0, 1100, 2000);
	EXPECT_EQ(usages()[0], kSmallScale / 10);
}

TEST_F(CpuLoad, accounting_that_is_off_does_not_matter)
{
	set_switch("load_metrics_enabled", false);
	kernel.load.set_activity(0, 1000, 1000);
	EXPECT_EQ(usages()[0], kSmallScale);
}

class CpuLoadDeathTest : public CpuLoad {
protected:
	CpuLoadDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(CpuLoadDeathTest, third_package_is_fatal_once_its_time_base_advances)
{
	kernel.cpus.set_package(6, 2);
	EXPECT_THAT(usages(), Each(0U));
	kernel.load.set_activity(6, 0, 1);
	step(1);
	EXPECT_EXIT(static_cast<void>(upload_cpus()), ::testing::ExitedWithCode(1), "BUG in test");
}

class CpuLoad12Cpus : public CpuLoad {
protected:
	CpuLoad12Cpus() : CpuLoad({.cpus = 12}) {}
};

TEST_F(CpuLoad12Cpus, the_first_eight_have_records)
{
	kernel.load.set_activity(8, 1000, 1000);
	EXPECT_THAT(usages(), ElementsAre(0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U));
}

class CpuLoad2Cpus : public CpuLoad {
protected:
	CpuLoad2Cpus() : CpuLoad({.cpus = 2}) {}
};

TEST_F(CpuLoad2Cpus, there_are_eight_records_all_the_same)
{
	for (unsigned int cpu = 2; cpu < 8; cpu++)
		kernel.load.set_readable(cpu, false);
	EXPECT_THAT(usages(), SizeIs(8));
}

class CpuLoadOfOneCluster : public CpuLoad {
protected:
	CpuLoadOfOneCluster() { kernel.load.set_clusters({{0, 1'800'000}}); }
};

TEST_F(CpuLoadOfOneCluster, cpus_without_a_scale_have_no_usage)
{
	for (unsigned int cpu = 0; cpu < 8; cpu++)
		kernel.load.set_activity(cpu, 1000, 1000);
	const u64 small = kSmallScale;
	EXPECT_THAT(usages(), ElementsAre(small, small, small, small, 0U, 0U, 0U, 0U));
}

} /* namespace test */
