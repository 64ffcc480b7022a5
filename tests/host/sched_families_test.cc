// SPDX-License-Identifier: GPL-2.0
/* The scheduler's families in the cycles: their order, their intervals, and the baselines. */
#include <algorithm>
#include <cstring>
#include <memory>

#include "host/sched_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr uint8_t kKmem = 3;
constexpr uint8_t kSched = 4;
constexpr uint8_t kKzerod = 12;
constexpr uint8_t kSvp = 14;

} /* namespace */

class SchedFamilies : public SchedTest {
protected:
	void SetUp() override
	{
		SchedTest::SetUp();
		kmem = std::make_unique<KmemProvider>(module);
		task = make_task(100, kSvpWithStats);
	}

	void be_busy() override { kernel.hooks.sched_info_depart(task, 1 * kMs); }

	std::unique_ptr<KmemProvider> kmem;
	sim::Task *task = nullptr;
};

TEST_F(SchedFamilies, collector_uploads_kmem_then_sched_then_svp)
{
	start_collector();
	be_busy();
	run_cycles(1);
	EXPECT_THAT(channels(), ElementsAre(kKmem, kSched, kSvp));
}

TEST_F(SchedFamilies, trigger_uploads_them_in_the_same_order_and_kzerod_last)
{
	be_busy();
	run_trigger();
	EXPECT_THAT(channels(), ElementsAre(kKmem, kSched, kSvp, kKzerod));
}

TEST_F(SchedFamilies, display_is_called_after_svp_and_before_kzerod)
{
	DisplayModule display(module);
	store("display_interval", "5");
	using Entry = void (*)(int);
	static Setter *push_display;
	push_display = setter("display");
	*module.symbol<Entry>("display_error_zem_update") = [](int) {
		push_display(0, "told", 4, 0);
	};
	be_busy();
	run_trigger();
	EXPECT_THAT(channels(), ElementsAre(kKmem, kSched, kSvp, ZEM_CHANNEL_DISPLAY, kKzerod));
}

TEST_F(SchedFamilies, cycle_without_activity_has_a_sched_record_and_no_svp_record)
{
	run_trigger();
	EXPECT_THAT(channels(), ElementsAre(kKmem, kSched, kKzerod));
}

TEST_F(SchedFamilies, sched_interval_of_3_is_every_third_cycle)
{
	store("sched_interval", "3");
	start_collector();
	EXPECT_THAT(collector_cycles_with(kSched, 7), ElementsAre(3, 6));
}

TEST_F(SchedFamilies, svp_interval_of_2_is_every_second_cycle)
{
	store("svp_interval", "2");
	start_collector();
	EXPECT_THAT(collector_cycles_with(kSvp, 5), ElementsAre(2, 4));
}

TEST_F(SchedFamilies, interval_of_0_is_never_not_even_for_the_trigger)
{
	store("sched_interval", "0");
	store("svp_interval", "0");
	start_collector();
	be_busy();
	run_cycles(2);
	EXPECT_THAT(channels(), ElementsAre(kKmem, kKmem));
	run_trigger();
	run_trigger();
	EXPECT_THAT(channels(), ElementsAre(kKmem, kKzerod, kKmem, kKzerod));
	EXPECT_TRUE(task->listed());
}

TEST_F(SchedFamilies, trigger_uses_the_same_intervals)
{
	store("sched_interval", "2");
	store("svp_interval", "3");
	EXPECT_THAT(triggers_with(kSched, 5), ElementsAre(2, 4));
	/* The counter of svp is 2 of 3. */
	EXPECT_THAT(triggers_with(kSvp, 5), ElementsAre(1, 4));
	EXPECT_THAT(triggers_with(kKzerod, 2), ElementsAre(1, 2));
}

TEST_F(SchedFamilies, trigger_has_counters_of_its_own)
{
	store("sched_interval", "2");
	start_collector();
	EXPECT_THAT(collector_cycles_with(kSched, 1), IsEmpty());
	EXPECT_THAT(triggers_with(kSched, 1), IsEmpty());
	EXPECT_THAT(collector_cycles_with(kSched, 1), ElementsAre(1));
	EXPECT_THAT(triggers_with(kSched, 1), ElementsAre(1));
}

TEST_F(SchedFamilies, interval_lowered_below_the_counter_expires_immediately)
{
	store("sched_interval", "100");
	EXPECT_THAT(triggers_with(kSched, 4), IsEmpty());
	store("sched_interval", "2");
	EXPECT_THAT(triggers_with(kSched, 4), ElementsAre(1, 3));
}

TEST_F(SchedFamilies, concurrent_triggers_are_serialised_at_the_sched_record)
{
	counters(0).hist[0][0] = 5;
	std::unique_ptr<sim::Thread> writer;
	/* While the block, which follows that of kmem, is copied. */
	kernel.faults.at(
		"ktime_get_real_ns",
		[&] {
			writer = std::make_unique<sim::Thread>(
				kernel.spawn("writer", [this] { run_trigger(); }, 1));
			kernel.run_until_idle();
			EXPECT_FALSE(writer->ended());
		},
		2);
	run_trigger();
	writer->join();
	kernel.run_until_idle();
	std::vector<uint32_t> counts;
	for (const Record &record : records()) {
		if (record.header.channel != kSched)
			continue;
		zem_sched payload{};
		memcpy(&payload, record.payload.data(), sizeof(payload));
		counts.push_back(payload.irqtime.counts[0]);
	}
	EXPECT_THAT(counts, ElementsAre(5U, 0U));
}

class SchedPriming : public UnloadedTest {};

TEST_F(SchedPriming, takes_the_base_and_uploads_nothing)
{
	kernel.cpus.set_irqtime(2, 1'000'000);
	kernel.faults.at(
		"kobject_create_and_add", [this] { kernel.hooks.irqtime_account_hardirq(50); }, 2);
	load();
	EXPECT_THAT(drained_payloads(), IsEmpty());

	kernel.hooks.irqtime_account_hardirq(50);
	kernel.cpus.set_irqtime(2, 1'000'000 + 2048);
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	zem_sched payload{};
	memcpy(&payload, records().at(0).payload.data(), sizeof(payload));
	EXPECT_EQ(payload.irqtime.counts[0], 1U);
	EXPECT_EQ(payload.irqtime.cpu_time[2], 2U);
	EXPECT_EQ(payload.irqtime.total_time, 2U);
}

TEST_F(SchedPriming, resets_tasks_that_have_run_meanwhile_and_lets_them_go)
{
	sim::Task &task = kernel.platform.make_task();
	kernel.faults.at(
		"kobject_create_and_add",
		[&] {
			kernel.hooks.rs_warn_set_svp_task(&task);
			kernel.hooks.sched_info_depart(&task, 3'000'000);
			EXPECT_EQ(sim::Platform::references(task), 1);
			EXPECT_EQ(kernel.platform.stats(task).runtime_total, 3'000'000U);
		},
		2);
	load();
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(sim::Platform::references(task), 0);
	EXPECT_FALSE(task.listed());
	EXPECT_EQ(kernel.platform.stats(task).runtime_total, 0U);
	EXPECT_EQ(kernel.platform.stats(task).runtime[0], 0U);
}

TEST_F(SchedPriming, asks_nobody_for_the_zero_page_counters_and_kzerod_waits_for_the_trigger)
{
	kzerod_zero_page_alloc_failed = 3;
	load();
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	EXPECT_EQ(records().back().header.channel, kKzerod);
}

} /* namespace test */
