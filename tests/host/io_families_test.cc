// SPDX-License-Identifier: GPL-2.0
/* The IO snapshot as a family: when it runs, and its record. */
#include <algorithm>

#include "host/io_fixture.h"
#include "host/providers.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class IoFamily : public WithCollector<IoTest> {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		find_devices();
		kmem = std::make_unique<KmemProvider>(module);
		gathered = 0;
		kernel.blocks.set_long_iowaits([](void *) { gathered++; });
	}

	/* Returns the numbers, from 1 on, of the cycles with a kio record. */
	template <typename Cycle>
	[[nodiscard]] std::vector<int> cycles_with_record(int cycles, Cycle cycle)
	{
		std::vector<int> found;
		for (int number = 1; number <= cycles; number++) {
			cycle();
			const std::vector<int> seen = channels();
			if (std::ranges::find(seen, ZEM_CHANNEL_KIO) != seen.end())
				found.push_back(number);
		}
		return found;
	}

	void trigger() { EXPECT_EQ(store("trigger", "1"), 1); }

	std::unique_ptr<KmemProvider> kmem;
	static inline int gathered;
};

TEST_F(IoFamily, comes_after_kmem_and_before_sched)
{
	store("sched_interval", "1");
	trigger();
	EXPECT_THAT(channels(), ElementsAre(ZEM_CHANNEL_KMEM, ZEM_CHANNEL_KIO, ZEM_CHANNEL_SCHED,
					    ZEM_CHANNEL_KZEROD));
	start_collector();
	run_cycles(1);
	EXPECT_THAT(channels(), ElementsAre(ZEM_CHANNEL_KMEM, ZEM_CHANNEL_KIO, ZEM_CHANNEL_SCHED));
}

TEST_F(IoFamily, interval_of_1_is_every_cycle_and_of_3_every_third)
{
	start_collector();
	EXPECT_THAT(cycles_with_record(3, [this] { run_cycles(1); }), ElementsAre(1, 2, 3));
	store("kioind_interval", "3");
	EXPECT_THAT(cycles_with_record(7, [this] { run_cycles(1); }), ElementsAre(3, 6));
}

TEST_F(IoFamily, interval_of_0_is_never_not_even_for_the_trigger)
{
	store("kioind_interval", "0");
	start_collector();
	EXPECT_THAT(cycles_with_record(2, [this] { run_cycles(1); }), IsEmpty());
	EXPECT_THAT(cycles_with_record(2, [this] { trigger(); }), IsEmpty());
	EXPECT_EQ(gathered, 0);
}

TEST_F(IoFamily, trigger_has_a_counter_of_its_own)
{
	store("kioind_interval", "2");
	start_collector();
	EXPECT_THAT(cycles_with_record(1, [this] { run_cycles(1); }), IsEmpty());
	EXPECT_THAT(cycles_with_record(1, [this] { trigger(); }), IsEmpty());
	EXPECT_THAT(cycles_with_record(1, [this] { run_cycles(1); }), ElementsAre(1));
	EXPECT_THAT(cycles_with_record(1, [this] { trigger(); }), ElementsAre(1));
}

TEST_F(IoFamily, indicators_that_are_off_have_no_record_but_their_cycle_counts)
{
	store("kioind_interval", "2");
	switch_io_indicators(0);
	EXPECT_THAT(cycles_with_record(2, [this] { trigger(); }), IsEmpty());
	switch_io_indicators(1);
	EXPECT_THAT(cycles_with_record(4, [this] { trigger(); }), ElementsAre(2, 4));
}

TEST_F(IoFamily, record_has_3936_bytes_behind_its_header_and_fits_into_a_page)
{
	store("trigger", "77");
	kernel.run_until_idle();
	const Record record = records().at(1);
	EXPECT_EQ(record.header.channel, 5);
	EXPECT_EQ(record.header.sub_type, 0);
	EXPECT_EQ(record.header.len, 3936U);
	EXPECT_EQ(record.header.train_number, 77U);
	EXPECT_EQ(hand_back(), 896U + 3968U + 72U);
}

TEST_F(IoFamily, refused_record_is_logged_and_the_cycle_goes_on)
{
	store("sched_interval", "1");
	kernel.faults.fail("ring_buffer_lock_reserve", 2);
	trigger();
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:3968\n")}));
	EXPECT_THAT(channels(),
		    ElementsAre(ZEM_CHANNEL_KMEM, ZEM_CHANNEL_SCHED, ZEM_CHANNEL_KZEROD));
}

TEST_F(IoFamily, is_gathered_and_cleared_without_a_record_when_trace_on_goes_0_in_the_cycle)
{
	complete();
	KmemProvider::before_return = [this] {
		store("trace_on", "0");
	};
	trigger();
	EXPECT_EQ(gathered, 1);
	EXPECT_EQ(snapshot().read_bios, 0U);
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_THAT(channels(), IsEmpty());
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

TEST_F(IoFamily, is_not_gathered_by_a_trigger_while_trace_on_is_0)
{
	store("trace_on", "0");
	trigger();
	EXPECT_EQ(gathered, 0);
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

class IoFamilyOfSmallPages : public IoTest {
protected:
	IoFamilyOfSmallPages() : IoTest({.sub_buffer_size = 3968}) {}
};

TEST_F(IoFamilyOfSmallPages, sub_buffer_that_is_too_small_refuses_the_record)
{
	find_devices();
	EXPECT_THAT(upload(), IsEmpty());
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:3968\n")}));
}

} /* namespace test */
