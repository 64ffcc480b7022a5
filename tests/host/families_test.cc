// SPDX-License-Identifier: GPL-2.0
/* Which families the cycles of the collector and of the trigger run, and what they upload. */
#include <functional>
#include <memory>
#include <utility>

#include "host/providers.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Families : public CollectorTest {
protected:
	void SetUp() override
	{
		CollectorTest::SetUp();
		store("sched_interval", "0");
	}

	/* Without the kzerod record, which a trigger's cycle includes. */
	[[nodiscard]] std::vector<std::string> drained_kmem()
	{
		kernel.run_until_idle();
		std::vector<std::string> kmem;
		for (const Record &record : records())
			if (record.header.channel == ZEM_CHANNEL_KMEM)
				kmem.push_back(record.payload);
		return kmem;
	}

	/* Returns the numbers, from 1 on, of the cycles that called the display module. */
	[[nodiscard]] std::vector<int> display_cycles(const char *interval, int cycles)
	{
		KmemProvider kmem(module);
		DisplayModule display(module);
		store("display_interval", interval);
		start_collector();
		std::vector<int> called;
		for (int cycle = 1; cycle <= cycles; cycle++) {
			const size_t before = DisplayModule::intervals.size();
			run_cycles(1);
			kernel.run_for(0);
			if (DisplayModule::intervals.size() > before)
				called.push_back(cycle);
			hand_back();
		}
		return called;
	}

	[[nodiscard]] std::vector<sim::Ticks> trigger(int times)
	{
		KmemProvider::calls.clear();
		for (int i = 0; i < times; i++)
			EXPECT_EQ(store("trigger", "1"), 1);
		return KmemProvider::calls;
	}

	const std::string full = std::string(sizeof(zem_kmem), 'k');
	const std::string cleared = std::string(sizeof(zem_kmem), '\0');
	const sim::LogLine refused = sim::err("get ringbuffer fail event_len:896\n");
};

TEST_F(Families, kmem_block_is_uploaded_whole_and_then_cleared)
{
	KmemProvider kmem(module);
	KmemProvider::block[0] = 'f';
	KmemProvider::block[863] = 'l';
	const std::string before = KmemProvider::block;
	EXPECT_EQ(store("trigger", "77"), 2);
	EXPECT_EQ(KmemProvider::block, cleared);
	EXPECT_THAT(drained_kmem(), ElementsAre(before));
	const zem_record_header header = records()[0].header;
	EXPECT_EQ(header.channel, 3);
	EXPECT_EQ(header.sub_type, 0);
	EXPECT_EQ(header.len, 864U);
	EXPECT_EQ(header.train_number, 77U);
	EXPECT_EQ(hand_back(), 896U + 72U);
}

TEST_F(Families, without_a_kmem_provider_nothing_happens)
{
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_THAT(drained_kmem(), IsEmpty());
}

TEST_F(Families, kmem_provider_with_nothing_to_give_is_asked_again_next_time)
{
	KmemProvider kmem(module);
	KmemProvider::gives_block = false;
	EXPECT_THAT(trigger(2), SizeIs(2));
	EXPECT_THAT(drained_kmem(), IsEmpty());
	KmemProvider::gives_block = true;
	EXPECT_THAT(trigger(1), SizeIs(1));
	EXPECT_THAT(drained_kmem(), ElementsAre(full));
}

TEST_F(Families, kmem_block_is_cleared_even_when_it_cannot_be_uploaded)
{
	KmemProvider kmem(module);
	kernel.faults.fail("ring_buffer_lock_reserve");
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_EQ(KmemProvider::block, cleared);
	EXPECT_EQ(log(), LogLines({refused}));
	EXPECT_THAT(drained_kmem(), IsEmpty());
}

TEST_F(Families, kmem_block_is_cleared_when_trace_on_becomes_0_in_the_cycle)
{
	KmemProvider kmem(module);
	KmemProvider::before_return = [this] {
		store("trace_on", "0");
	};
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_EQ(KmemProvider::block, cleared);
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(kernel.ring_buffers.statistics().discards, 0U);
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

TEST_F(Families, kmem_record_overtaken_by_trace_on_0_is_given_back)
{
	KmemProvider kmem(module);
	kernel.faults.at("ktime_get_real_ns", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { store("trace_on", "0"); });
	});
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_EQ(kernel.ring_buffers.statistics().discards, 1U);
	EXPECT_EQ(KmemProvider::block, cleared);
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

TEST_F(Families, kmem_interval_of_3_is_every_third_cycle)
{
	KmemProvider kmem(module);
	store("kmemind_interval", "3");
	start_collector();
	kernel.run_for(10 * kCycle);
	const auto &calls = KmemProvider::calls;
	ASSERT_THAT(calls, SizeIs(3));
	EXPECT_EQ(calls[0], 205U + 2 * kCycle);
	EXPECT_EQ(calls[1], 205U + 5 * kCycle);
	EXPECT_EQ(calls[2], 205U + 8 * kCycle);
}

TEST_F(Families, kmem_interval_of_3_starts_again_after_a_provider_with_nothing_to_give)
{
	KmemProvider kmem(module);
	KmemProvider::gives_block = false;
	store("kmemind_interval", "3");
	start_collector();
	kernel.run_for(8 * kCycle);
	EXPECT_THAT(KmemProvider::calls, ElementsAre(205U + 2 * kCycle, 205U + 5 * kCycle));
}

TEST_F(Families, kmem_block_is_not_filled_again_before_it_was_copied_and_cleared)
{
	static std::function<void()> meanwhile;
	static std::string block(sizeof(zem_kmem), '\0');
	using Provider = void *(*)();
	*module.symbol<Provider>("get_all_kmemind_func") = [] {
		EXPECT_EQ(block, std::string(sizeof(zem_kmem), '\0'));
		block.assign(sizeof(zem_kmem), 'k');
		if (const auto once = std::exchange(meanwhile, nullptr))
			once();
		return static_cast<void *>(block.data());
	};
	std::unique_ptr<sim::Thread> other;
	meanwhile = [&] {
		other = std::make_unique<sim::Thread>(
			kernel.spawn("other", [this] { EXPECT_EQ(store("trigger", "2"), 1); }));
		kernel.run_until_idle();
	};
	EXPECT_EQ(store("trigger", "1"), 1);
	other->join();
	EXPECT_THAT(drained_kmem(), ElementsAre(full, full));
}

TEST_F(Families, kmem_interval_of_0_is_never_except_for_the_trigger)
{
	KmemProvider kmem(module);
	store("kmemind_interval", "0");
	start_collector();
	kernel.run_for(10 * kCycle);
	EXPECT_THAT(KmemProvider::calls, IsEmpty());
	EXPECT_THAT(trigger(3), SizeIs(3));
}

TEST_F(Families, trigger_asks_for_kmem_every_time_whatever_the_interval)
{
	KmemProvider kmem(module);
	store("kmemind_interval", "10000");
	EXPECT_THAT(trigger(4), SizeIs(4));
}

TEST_F(Families, interval_lowered_below_the_counter_is_due_at_the_next_cycle)
{
	KmemProvider kmem(module);
	store("kmemind_interval", "100");
	start_collector();
	kernel.run_for(204 + 5 * kCycle);
	ASSERT_THAT(KmemProvider::calls, IsEmpty());
	store("kmemind_interval", "2");
	kernel.run_for(kCycle);
	EXPECT_THAT(KmemProvider::calls, ElementsAre(205 + 5 * kCycle));
	kernel.run_for(2 * kCycle);
	EXPECT_THAT(KmemProvider::calls, ElementsAre(205 + 5 * kCycle, 205 + 7 * kCycle));
}

TEST_F(Families, counter_goes_on_while_the_family_is_off)
{
	KmemProvider kmem(module);
	store("kmemind_interval", "0");
	start_collector();
	kernel.run_for(204 + 3 * kCycle);
	store("kmemind_interval", "4");
	kernel.run_for(kCycle);
	EXPECT_THAT(KmemProvider::calls, ElementsAre(205 + 3 * kCycle));
}

TEST_F(Families, display_interval_of_10_is_every_second_cycle)
{
	EXPECT_THAT(display_cycles("10", 6), ElementsAre(2, 4, 6));
	EXPECT_THAT(DisplayModule::intervals, ElementsAre(10, 10, 10));
}

TEST_F(Families, display_interval_of_7_is_every_second_cycle)
{
	EXPECT_THAT(display_cycles("7", 6), ElementsAre(2, 4, 6));
}

TEST_F(Families, display_interval_of_5_is_every_cycle)
{
	EXPECT_THAT(display_cycles("5", 3), ElementsAre(1, 2, 3));
}

TEST_F(Families, display_interval_of_11_is_every_third_cycle)
{
	EXPECT_THAT(display_cycles("11", 6), ElementsAre(3, 6));
}

TEST_F(Families, display_interval_of_1_is_every_cycle)
{
	EXPECT_THAT(display_cycles("1", 3), ElementsAre(1, 2, 3));
}

TEST_F(Families, display_interval_of_0_is_never)
{
	EXPECT_THAT(display_cycles("0", 6), IsEmpty());
}

TEST_F(Families, trigger_counts_for_the_display_by_itself)
{
	KmemProvider kmem(module);
	DisplayModule display(module);
	start_collector();
	run_cycles(1);
	EXPECT_THAT(DisplayModule::intervals, IsEmpty());
	store("trigger", "1");
	EXPECT_THAT(DisplayModule::intervals, IsEmpty()) << "one of each is not two of one";
	store("trigger", "1");
	EXPECT_THAT(DisplayModule::intervals, ElementsAre(10));
	run_cycles(1);
	kernel.run_until_idle();
	EXPECT_THAT(DisplayModule::intervals, ElementsAre(10, 10));
}

TEST_F(Families, trigger_runs_nothing_while_trace_on_is_0)
{
	KmemProvider kmem(module);
	DisplayModule display(module);
	store("display_interval", "5");
	store("trace_on", "0");
	EXPECT_THAT(trigger(3), IsEmpty());
	EXPECT_THAT(DisplayModule::intervals, IsEmpty());
	EXPECT_EQ(KmemProvider::block, full);
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

TEST_F(Families, trigger_does_not_move_the_collector_s_deadline)
{
	KmemProvider kmem(module);
	start_collector();
	kernel.run_for(100);
	EXPECT_THAT(trigger(1), SizeIs(1));
	KmemProvider::calls.clear();
	run_cycles(1);
	EXPECT_THAT(KmemProvider::calls, ElementsAre(205U));
}

} /* namespace test */
