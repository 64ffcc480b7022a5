// SPDX-License-Identifier: GPL-2.0
/* The load and cgroup families in the cycles: their order and intervals. */
#include <algorithm>
#include <memory>

#include "host/health_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr int kKmem = 3;
constexpr int kSched = 4;
constexpr int kKzerod = 12;
constexpr int kSvp = 14;
constexpr int kLoad = 16;
constexpr int kCpu = 17;
constexpr int kCgroup = 18;

} /* namespace */

class LoadFamilies : public HealthTest {
protected:
	void SetUp() override
	{
		HealthTest::SetUp();
		kmem = std::make_unique<KmemProvider>(module);
		task = &kernel.platform.make_task({.pid = 100});
		EXPECT_EQ(write_proc("load_metrics/load_metrics_report", "1"), 1);
		store("cgroup_interval", "1");
	}

	/* Causes activity for each family. */
	void be_busy() override
	{
		kernel.hooks.sched_info_depart(task, kMs);
		wait(task, 1);
		kernel.clock.step_monotonic_ns(1'000);
		kernel.load.ran(*task, 0, 1 * kMs);
	}

	std::unique_ptr<KmemProvider> kmem;
	sim::Task *task = nullptr;
};

TEST_F(LoadFamilies, cpu_precedes_load_and_cgroup_follows)
{
	static_cast<void>(kernel.platform.stats(*task));
	be_busy();
	run_trigger();
	EXPECT_THAT(channels(), ElementsAre(kKmem, kSched, kSvp, kCpu, kCpu, kCpu, kCpu, kCpu, kCpu,
					    kCpu, kCpu, kLoad, kCgroup, kKzerod));
	start_collector();
	be_busy();
	run_cycles(1);
	EXPECT_THAT(channels(), ElementsAre(kKmem, kSched, kSvp, kCpu, kCpu, kCpu, kCpu, kCpu, kCpu,
					    kCpu, kCpu, kLoad, kCgroup));
}

TEST_F(LoadFamilies, display_is_called_after_cgroup)
{
	store("display_interval", "5");
	store("load_interval", "0");
	store("sched_interval", "0");
	using Entry = void (*)(int);
	static Setter *push_display;
	push_display = setter("display");
	*module.symbol<Entry>("display_error_zem_update") = [](int) {
		push_display(0, "told", 4, 0);
	};
	run_trigger();
	EXPECT_THAT(channels(), ElementsAre(kKmem, kCgroup, ZEM_CHANNEL_DISPLAY, kKzerod));
}

TEST_F(LoadFamilies, load_interval_of_3_is_every_third_cycle)
{
	store("load_interval", "3");
	start_collector();
	EXPECT_THAT(collector_cycles_with(kCpu, 7), ElementsAre(3, 6));
	EXPECT_THAT(triggers_with(kLoad, 7), ElementsAre(3, 6)) << "counted apart";
}

TEST_F(LoadFamilies, load_runs_in_every_cycle_by_default)
{
	start_collector();
	EXPECT_THAT(collector_cycles_with(kLoad, 3), ElementsAre(1, 2, 3));
}

TEST_F(LoadFamilies, cgroup_interval_of_2_is_every_second_cycle)
{
	store("cgroup_interval", "2");
	start_collector();
	EXPECT_THAT(collector_cycles_with(kCgroup, 5), ElementsAre(2, 4));
	EXPECT_THAT(triggers_with(kCgroup, 5), ElementsAre(2, 4)) << "counted apart";
}

TEST_F(LoadFamilies, interval_of_0_is_never_not_even_for_the_trigger)
{
	store("cgroup_interval", "0");
	store("load_interval", "0");
	start_collector();
	be_busy();
	run_cycles(2);
	run_trigger();
	const std::vector<int> seen = channels();
	for (const int channel : {kCpu, kLoad, kCgroup})
		EXPECT_EQ(std::ranges::count(seen, channel), 0) << channel;
}

class LoadFamiliesAtLoad : public CollectorTest {};

TEST_F(LoadFamiliesAtLoad, cgroup_is_never_due_and_load_always)
{
	EXPECT_EQ(show("cgroup_interval"), "0\n");
	EXPECT_EQ(show("load_interval"), "1\n");
}

TEST_F(LoadFamilies, cgroup_counter_is_reset_when_due_though_the_switch_is_off)
{
	const auto set_switch = [this](const char *state) {
		EXPECT_EQ(write_proc("cgroup_metrics/cgroup_metrics_enabled", state), 1);
	};
	store("cgroup_interval", "3");
	set_switch("0");
	for (int i = 0; i < 4; i++)
		run_trigger();
	set_switch("1");
	/* The fourth one began a new count. */
	EXPECT_THAT(triggers_with(kCgroup, 4), ElementsAre(2));
}

TEST_F(LoadFamilies, load_family_that_is_not_due_leaves_the_window_open)
{
	store("load_interval", "0");
	auto *words = sim::Platform::load_block(*task);
	be_busy();
	run_trigger();
	EXPECT_EQ(words[kAccumulator], kSmallScale * kMs);
	store("load_interval", "1");
	be_busy();
	run_trigger();
	EXPECT_EQ(words[kAccumulator], 0U);
	EXPECT_EQ(inside().window_length(), 2'000U);
}

TEST_F(LoadFamilies, records_that_find_no_room_are_logged_by_their_size)
{
	store("sched_interval", "0");
	be_busy();
	/* After kmem: eight CPUs, a task, the groups. */
	kernel.faults.fail("ring_buffer_lock_reserve", 2);
	kernel.faults.fail("ring_buffer_lock_reserve", 10);
	kernel.faults.fail("ring_buffer_lock_reserve", 11);
	run_trigger();
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:56\n"),
				   sim::err("get ringbuffer fail event_len:224\n"),
				   sim::err("get ringbuffer fail event_len:312\n")}));
}

TEST_F(LoadFamilies, with_trace_on_0_what_is_due_is_lost)
{
	start_collector();
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
	be_busy();
	run_trigger();
	EXPECT_THAT(channels(), IsEmpty());
	EXPECT_NE(sim::Platform::load_block(*task)[kAccumulator], 0U) << "no cycle was run";
}

} /* namespace test */
