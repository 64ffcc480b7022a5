// SPDX-License-Identifier: GPL-2.0
/* The zero-page daemon's counters: their snapshot, and the record, which only a trigger sends. */
#include <climits>
#include <cstring>

#include "host/sched_fixture.h"
#include "linux/zem.h"

namespace test {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Not;

class Kzerod : public SchedTest {
protected:
	void set_counters(int failed, int prezero, int total, int breakdown, int drain)
	{
		kzerod_zero_page_alloc_failed = failed;
		kzerod_zero_page_alloc_prezero = prezero;
		kzerod_zero_page_list_alloc_total = total;
		kzerod_zero_page_list_breakdown_total = breakdown;
		kzerod_zero_page_list_drain_total = drain;
	}

	void TearDown() override
	{
		set_counters(0, 0, 0, 0, 0);
		SchedTest::TearDown();
	}

	[[nodiscard]] static std::vector<int64_t> values(const void *block)
	{
		std::vector<int64_t> fields(5);
		memcpy(fields.data(), block, 40);
		return fields;
	}

	[[nodiscard]] zem_kzerod *snapshot()
	{
		return module.symbol<zem_kzerod *()>("get_kzerod_info")();
	}

	/* The records of the channel that are in the shared buffer. */
	[[nodiscard]] std::vector<Record> kzerod_records()
	{
		kernel.run_until_idle();
		std::vector<Record> found;
		for (Record &record : records())
			if (record.header.channel == ZEM_CHANNEL_KZEROD)
				found.push_back(std::move(record));
		return found;
	}
};

TEST_F(Kzerod, snapshot_has_the_five_counters_in_order_and_with_their_sign)
{
	set_counters(1, -2, INT_MAX, INT_MIN, -1);
	EXPECT_THAT(values(snapshot()), ElementsAre(1, -2, 2147483647, -2147483648LL, -1));
}

TEST_F(Kzerod, idle_daemon_gives_the_same_values_again)
{
	set_counters(10, 20, 30, 40, 50);
	const zem_kzerod *first = snapshot();
	EXPECT_THAT(values(first), ElementsAre(10, 20, 30, 40, 50));
	EXPECT_EQ(snapshot(), first);
	EXPECT_THAT(values(first), ElementsAre(10, 20, 30, 40, 50));
	EXPECT_EQ(kzerod_zero_page_list_drain_total, 50);
}

TEST_F(Kzerod, trigger_sends_one_record_and_clears_the_snapshot)
{
	set_counters(-3, 7, INT_MIN, 11, INT_MAX);
	EXPECT_EQ(store("trigger", "-5"), 2);
	const std::vector<Record> found = kzerod_records();
	ASSERT_EQ(found.size(), 1U);
	EXPECT_EQ(found[0].header.channel, 12);
	EXPECT_EQ(found[0].header.sub_type, 0);
	EXPECT_EQ(found[0].header.len, 40U);
	EXPECT_EQ(found[0].header.train_number, static_cast<uint32_t>(-5));
	EXPECT_THAT(values(found[0].payload.data()),
		    ElementsAre(-3, 7, -2147483648LL, 11, 2147483647));
	EXPECT_EQ(kzerod_zero_page_alloc_failed, -3) << "the daemon's own counter stays";
}

TEST_F(Kzerod, snapshot_is_zeros_after_the_trigger)
{
	set_counters(1, 2, 3, 4, 5);
	const zem_kzerod *block = snapshot();
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_THAT(values(block), Each(0));
	EXPECT_THAT(values(snapshot()), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Kzerod, each_trigger_sends_running_totals)
{
	set_counters(1, 2, 3, 4, 5);
	EXPECT_EQ(store("trigger", "1"), 1);
	set_counters(2, 2, 3, 4, 9);
	EXPECT_EQ(store("trigger", "1"), 1);
	const std::vector<Record> found = kzerod_records();
	ASSERT_EQ(found.size(), 2U);
	EXPECT_THAT(values(found[1].payload.data()), ElementsAre(2, 2, 3, 4, 9));
}

TEST_F(Kzerod, refused_record_is_logged_and_the_snapshot_cleared)
{
	set_counters(1, 2, 3, 4, 5);
	store("sched_interval", "0");
	const zem_kzerod *block = snapshot();
	kernel.faults.fail("ring_buffer_lock_reserve");
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:72\n")}));
	EXPECT_THAT(values(block), Each(0));
	EXPECT_TRUE(kzerod_records().empty());
}

TEST_F(Kzerod, snapshot_is_cleared_without_a_record_when_trace_on_becomes_0_in_the_cycle)
{
	KmemProvider kmem(module);
	set_counters(1, 2, 3, 4, 5);
	const zem_kzerod *block = snapshot();
	KmemProvider::before_return = [this] {
		store("trace_on", "0");
	};
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_THAT(values(block), Each(0));
	EXPECT_TRUE(kzerod_records().empty());
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

TEST_F(Kzerod, trigger_does_nothing_while_trace_on_is_0)
{
	set_counters(1, 2, 3, 4, 5);
	const zem_kzerod *block = snapshot();
	store("trace_on", "0");
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_THAT(values(block), ElementsAre(1, 2, 3, 4, 5));
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
}

TEST_F(Kzerod, collector_never_sends_it)
{
	KmemProvider kmem(module);
	set_counters(1, 2, 3, 4, 5);
	const zem_kzerod *block = snapshot();
	start_collector();
	for (int cycle = 0; cycle < 3; cycle++) {
		run_cycles(1);
		EXPECT_TRUE(kzerod_records().empty());
		hand_back();
	}
	EXPECT_THAT(values(block), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Kzerod, other_modules_may_push_on_its_channel)
{
	push("forty bytes or not", "kzerod", 3);
	const std::vector<Record> found = kzerod_records();
	ASSERT_EQ(found.size(), 1U);
	EXPECT_EQ(found[0].header.sub_type, 3);
}

} /* namespace test */
