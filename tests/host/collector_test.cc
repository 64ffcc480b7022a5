// SPDX-License-Identifier: GPL-2.0
/* The collector's timing: its first deadline, its period, late wake-ups, and stopping. */
#include <climits>

#include "host/providers.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

/* Distance from the default first jiffy, 4294892296, to the next multiple of 2500. */
constexpr sim::Ticks kFirstDeadline = 204;
/* msleep() sleeps one jiffy longer. */
constexpr sim::Ticks kWake = 1;

} /* namespace */

class Collector : public CollectorTest {
protected:
	using CollectorTest::CollectorTest;

	void SetUp() override
	{
		CollectorTest::SetUp();
		kmem = std::make_unique<KmemProvider>(module);
	}

	const std::vector<sim::Ticks> &cycles = KmemProvider::calls;
	std::unique_ptr<KmemProvider> kmem;
	const sim::LogLine resumed = sim::info("system suspend and resume\n");
	const sim::LogLine disabled = sim::info("trace_on disable\n");
	const sim::LogLine enabled = sim::info("trace_on enable\n");
};

template <unsigned long jiffies>
class CollectorFrom : public Collector {
protected:
	CollectorFrom() : Collector({.initial_jiffies = jiffies}) {}
};

using CollectorOnADeadline = CollectorFrom<5000>;
using CollectorAfterALongTime = CollectorFrom<LONG_MAX - 10>;
using CollectorBeforeTheWrap = CollectorFrom<0UL - 1000>;
using CollectorAtZero = CollectorFrom<0>;

TEST_F(Collector, does_not_run_before_trace_on_went_0_and_1)
{
	kernel.run_for(100 * kCycle);
	store("trace_on", "1");
	kernel.run_for(100 * kCycle);
	EXPECT_THAT(cycles, IsEmpty());
}

TEST_F(Collector, first_deadline_is_the_next_multiple_of_10_s_of_jiffies_and_then_every_5_s)
{
	start_collector();
	kernel.run_for(kFirstDeadline);
	EXPECT_THAT(cycles, IsEmpty());
	kernel.run_for(4 * kCycle);
	EXPECT_THAT(cycles, ElementsAre(kFirstDeadline + kWake, kFirstDeadline + kCycle + kWake,
					kFirstDeadline + 2 * kCycle + kWake,
					kFirstDeadline + 3 * kCycle + kWake));
}

TEST_F(CollectorOnADeadline, deadline_that_is_now_counts_as_passed)
{
	start_collector();
	kernel.run_for(2 * kCycle + kWake);
	EXPECT_THAT(cycles, ElementsAre(2 * kCycle + kWake));
}

TEST_F(CollectorAtZero, first_deadline_is_10_s_after_jiffy_0)
{
	start_collector();
	kernel.run_for(2 * kCycle + kWake);
	EXPECT_THAT(cycles, ElementsAre(2 * kCycle + kWake));
}

TEST_F(CollectorAfterALongTime, catches_up_at_once)
{
	/* LONG_MAX - 10 is 2297 jiffies after a multiple of 2500, and the sign changes 11 jiffies
	 * later. */
	constexpr unsigned long kPast = (LONG_MAX - 10) % 2500;
	start_collector();
	kernel.run_for(4 * kCycle);
	ASSERT_THAT(cycles, SizeIs(::testing::Ge(2U)));
	EXPECT_EQ(cycles[0], 2500 - kPast + kWake);
	EXPECT_EQ(cycles[1], 2500 - kPast + kCycle + kWake);
}

TEST_F(CollectorBeforeTheWrap, deadline_0_is_ahead_and_the_cadence_goes_on_past_it)
{
	start_collector();
	kernel.run_for(1000 + 2 * kCycle + kWake);
	EXPECT_THAT(cycles,
		    ElementsAre(1000 + kWake, 1000 + kCycle + kWake, 1000 + 2 * kCycle + kWake));
}

TEST_F(Collector, waking_1250_jiffies_late_is_silent_and_the_missed_deadline_skipped)
{
	/* Keeps the buffer from filling up, because there is no reader. */
	store("sched_interval", "0");
	start_collector();
	kernel.clock.set_sleep_overrun(1250);
	KmemProvider::before_return = [this] {
		kernel.clock.set_sleep_overrun(kWake);
	};
	kernel.run_for(10 * kCycle);
	EXPECT_THAT(log(), IsEmpty());
	ASSERT_THAT(cycles, SizeIs(::testing::Ge(3U)));
	EXPECT_EQ(cycles[0], kFirstDeadline + 1250);
	/* A deadline that is reached exactly counts as missed: catching up takes two cycles. */
	EXPECT_EQ(cycles[1], kFirstDeadline + 1250 + 2500 + kWake);
	EXPECT_EQ(cycles[2], kFirstDeadline + 1250 + 2500 + kCycle + kWake);
}

TEST_F(Collector, waking_1249_jiffies_late_leaves_one_for_the_next_sleep)
{
	store("sched_interval", "0");
	start_collector();
	kernel.clock.set_sleep_overrun(1249);
	KmemProvider::before_return = [this] {
		kernel.clock.set_sleep_overrun(kWake);
	};
	kernel.run_for(3 * kCycle);
	EXPECT_THAT(log(), IsEmpty());
	ASSERT_THAT(cycles, SizeIs(::testing::Ge(2U)));
	EXPECT_EQ(cycles[0], kFirstDeadline + 1249);
	EXPECT_EQ(cycles[1], kFirstDeadline + kCycle + kWake);
}

TEST_F(Collector, waking_1251_jiffies_late_is_a_suspend_and_the_schedule_begins_anew)
{
	start_collector();
	kernel.clock.set_sleep_overrun(1251);
	KmemProvider::before_return = [this] {
		kernel.clock.set_sleep_overrun(kWake);
	};
	kernel.run_for(5 * kCycle);
	EXPECT_EQ(log(), LogLines({resumed}));
	ASSERT_THAT(cycles, SizeIs(::testing::Ge(3U)));
	EXPECT_EQ(cycles[0], kFirstDeadline + 1251);
	EXPECT_EQ(cycles[1], kFirstDeadline + 1251 + kCycle + kWake);
	EXPECT_EQ(cycles[2], kFirstDeadline + 1251 + 2 * kCycle + kWake);
}

TEST_F(Collector, an_hour_of_suspend_is_one_cycle)
{
	start_collector();
	kernel.clock.set_sleep_overrun(3600 * kSecond);
	KmemProvider::before_return = [this] {
		kernel.clock.set_sleep_overrun(kWake);
	};
	kernel.run_for(3600 * kSecond + kFirstDeadline + kCycle + kWake);
	EXPECT_EQ(log(), LogLines({resumed}));
	EXPECT_THAT(cycles, SizeIs(2));
}

TEST_F(Collector, slow_cycle_that_misses_deadlines_skips_them_silently)
{
	start_collector();
	KmemProvider::before_return = [this] {
		KmemProvider::before_return = nullptr;
		kernel.run_for(3 * kCycle);
	};
	kernel.run_for(10 * kCycle);
	ASSERT_THAT(cycles, SizeIs(::testing::Ge(2U)));
	/* The next deadline was one cycle later. It is missed by 2501, so catching up takes two
	 * steps. */
	EXPECT_EQ(cycles[1], kFirstDeadline + kCycle + 2 * 2500 + kWake);
	EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Collector, stop_while_it_catches_up_is_no_cycle)
{
	start_collector();
	std::unique_ptr<sim::Thread> writer;
	/* Moving the deadline is the first operation of the thread. */
	kernel.faults.at("spin_lock", [&] {
		writer = std::make_unique<sim::Thread>(
			kernel.spawn("writer", [this] { store("trace_on", "0"); }));
		kernel.run_until_idle();
	});
	kernel.run_until_idle();
	ASSERT_TRUE(writer);
	writer->join();
	EXPECT_EQ(kernel.clock.ticks(), 0U);
	EXPECT_THAT(cycles, IsEmpty());
	EXPECT_EQ(log(), LogLines({disabled}));
}

TEST_F(CollectorAtZero, time_that_passes_while_it_catches_up_is_not_slept_again)
{
	start_collector();
	kernel.faults.at("spin_lock", [this] { kernel.run_for(100); });
	kernel.run_for(2500 + kWake);
	EXPECT_THAT(cycles, ElementsAre(2500 + kWake));
}

TEST_F(CollectorAtZero, deadline_that_passes_while_it_catches_up_is_caught_up_with_too)
{
	start_collector();
	kernel.faults.at("spin_lock", [this] { kernel.run_for(2500); });
	kernel.run_for(2 * 2500 + kWake);
	EXPECT_THAT(cycles, ElementsAre(2 * 2500 + kWake));
}

TEST_F(Collector, stop_while_it_sleeps_ends_it_after_one_more_cycle)
{
	start_collector();
	run_cycles(1);
	kernel.run_for(10);
	hand_back();
	const sim::Ticks before = kernel.clock.ticks();
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_EQ(kernel.clock.ticks(), kFirstDeadline + kCycle + kWake);
	EXPECT_GT(kernel.clock.ticks(), before);
	EXPECT_THAT(cycles, SizeIs(2));
	EXPECT_THAT(kernel.scheduler.unfinished(), ElementsAre("rb_consumer"));
	/* The cycle recorded nothing, but consumed the block. */
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(KmemProvider::block, std::string(sizeof(zem_kmem), '\0'));
	EXPECT_EQ(log(), LogLines({disabled}));
}

TEST_F(Collector, stop_before_it_ever_ran_is_no_cycle)
{
	start_collector();
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_EQ(kernel.clock.ticks(), 0U);
	EXPECT_THAT(cycles, IsEmpty());
	EXPECT_EQ(log(), LogLines({disabled}));
}

TEST_F(Collector, stop_during_a_cycle_ends_it_at_once)
{
	start_collector();
	std::unique_ptr<sim::Thread> writer;
	KmemProvider::before_return = [&] {
		KmemProvider::before_return = nullptr;
		writer = std::make_unique<sim::Thread>(
			kernel.spawn("writer", [this] { store("trace_on", "0"); }));
		kernel.run_for(10);
	};
	run_cycles(1);
	writer->join();
	EXPECT_EQ(kernel.clock.ticks(), kFirstDeadline + kWake + 10);
	EXPECT_THAT(cycles, SizeIs(1));
	EXPECT_EQ(log(), LogLines({disabled}));
}

TEST_F(Collector, restart_keeps_the_deadline_that_is_still_ahead)
{
	start_collector();
	run_cycles(1);
	store("trace_on", "0");
	ASSERT_THAT(cycles, SizeIs(2));
	store("trace_on", "1");
	run_cycles(1);
	EXPECT_EQ(cycles[2], kFirstDeadline + 2 * kCycle + kWake);
	EXPECT_EQ(log(), LogLines({disabled, enabled}));
}

TEST_F(Collector, restart_after_a_pause_keeps_the_phase_of_the_old_deadline)
{
	start_collector();
	run_cycles(1);
	store("trace_on", "0");
	ASSERT_THAT(cycles, SizeIs(2));
	kernel.run_for(100 * kCycle);
	store("trace_on", "1");
	run_cycles(1);
	/* The old deadline was the third one, and each step is two cycles. */
	EXPECT_EQ((cycles[2] - kWake - (kFirstDeadline + 2 * kCycle)) % 2500, 0U);
	EXPECT_EQ(log(), LogLines({disabled, enabled}));
}

TEST_F(Collector, restart_keeps_the_counters)
{
	DisplayModule display(module);
	store("display_interval", "20");
	start_collector();
	run_cycles(1);
	store("trace_on", "0");
	ASSERT_THAT(cycles, SizeIs(2));
	store("trace_on", "1");
	run_cycles(1);
	EXPECT_THAT(DisplayModule::intervals, IsEmpty());
	run_cycles(1);
	EXPECT_THAT(DisplayModule::intervals, ElementsAre(20));
	EXPECT_EQ(log(), LogLines({disabled, enabled}));
}

} /* namespace test */
