// SPDX-License-Identifier: GPL-2.0
/* /sys/module/zem/counters: every pushed record is received, or exactly one counter counts it. */
#include <cerrno>

#include "host/fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class Counters : public LargeRecordTest {
protected:
	[[nodiscard]] std::string counter(const std::string &name)
	{
		return kernel.sysfs.read("module/zem/counters/" + name).data;
	}

	/* Two records that exceed the buffer together by one byte. */
	void fill_to_the_brim()
	{
		push_sized(4096, 'a');
		push_sized(4096, 'b');
	}
};

TEST_F(Counters, are_read_only_files_for_everyone)
{
	constexpr unsigned int kMode = 0444;
	EXPECT_THAT(kernel.sysfs.list("module/zem/counters"),
		    ElementsAre(Pair("records_pushed", kMode), Pair("records_overwritten", kMode),
				Pair("records_refused", kMode), Pair("records_too_large", kMode),
				Pair("records_dropped", kMode), Pair("notify_timeouts", kMode),
				Pair("empty_passes", kMode), Pair("uids_refused", kMode),
				Pair("svp_tasks_refused", kMode)));
	EXPECT_EQ(kernel.sysfs.write("module/zem/counters/records_pushed", "1"), -EIO);
}

TEST_F(Counters, are_zero_after_load)
{
	for (const auto &[name, mode] : kernel.sysfs.list("module/zem/counters"))
		EXPECT_EQ(counter(name), "0\n") << name;
}

TEST_F(Counters, begin_at_zero_with_each_load)
{
	push("one");
	kernel.run_until_idle();
	EXPECT_EQ(counter("records_pushed"), "1\n");
	unload();
	load();
	EXPECT_EQ(counter("records_pushed"), "0\n");
}

TEST_F(Counters, pushed_are_all_commits_of_all_cpus_whether_read_or_pending)
{
	push("read");
	kernel.move_to_cpu(5);
	push("read too");
	kernel.run_until_idle();
	push("pending");
	EXPECT_EQ(counter("records_pushed"), "3\n");
	EXPECT_EQ(counter("records_overwritten"), "0\n");
}

TEST_F(Counters, overwritten_records_are_counted)
{
	kernel.move_to_cpu(2);
	for (int i = 0; i < 20; i++)
		push_sized(4096);
	const auto ring = kernel.ring_buffers.statistics();
	ASSERT_GT(ring.overruns, 0U);
	EXPECT_EQ(counter("records_pushed"), "20\n");
	EXPECT_EQ(counter("records_overwritten"), std::to_string(ring.overruns) + "\n");
	while (hand_back())
		kernel.run_until_idle();
	kernel.run_until_idle();
	EXPECT_EQ(counter("records_pushed"), "20\n");
	EXPECT_EQ(counter("records_overwritten"), std::to_string(ring.overruns) + "\n");
	hand_back();
}

TEST_F(Counters, pushed_are_consistent_while_the_consumer_moves_them)
{
	for (int i = 0; i < 3; i++)
		push("moved");
	/* Between the reads of the overwritten and of the pending events. */
	kernel.faults.at("ring_buffer_read_events_cpu", [this] {
		kernel.faults.at("ring_buffer_entries_cpu", [this] { kernel.run_until_idle(); });
	});
	EXPECT_EQ(counter("records_pushed"), "3\n");
}

TEST_F(Counters, refused_are_reservations_that_the_ring_buffer_did_not_give)
{
	kernel.faults.fail("ring_buffer_lock_reserve");
	push("refused");
	setter("test")(0, "", -33, 0);
	setter("test")(0, "", -1, 0);
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:39\n"),
				   sim::err("get ringbuffer fail event_len:-1\n"),
				   sim::err("get ringbuffer fail event_len:31\n")}));
	EXPECT_EQ(counter("records_refused"), "3\n");
	EXPECT_EQ(counter("records_pushed"), "0\n");
}

TEST_F(Counters, too_large_are_payloads_over_7904_bytes)
{
	push(std::string(7904, 'x'));
	push(std::string(7905, 'x'));
	EXPECT_EQ(log(), LogLines({sim::err("zem : too large data 7937 !\n")}));
	EXPECT_EQ(counter("records_too_large"), "1\n");
	EXPECT_EQ(counter("records_refused"), "0\n");
	EXPECT_EQ(counter("records_pushed"), "1\n");
}

TEST_F(Counters, count_nothing_while_trace_on_is_0)
{
	store("trace_on", "0");
	push("not recorded");
	push(std::string(7905, 'x'));
	store("trace_on", "1");
	EXPECT_EQ(log(),
		  LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n")}));
	EXPECT_EQ(counter("records_pushed"), "0\n");
	EXPECT_EQ(counter("records_too_large"), "0\n");
}

TEST_F(Counters, records_without_room_are_counted_as_dropped)
{
	fill_to_the_brim();
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({sim::info("read data timeout, drop it\n")}));
	EXPECT_EQ(counter("records_dropped"), "1\n");
	EXPECT_EQ(counter("notify_timeouts"), "1\n");
	EXPECT_EQ(counter("records_pushed"), "2\n");
}

TEST_F(Counters, notification_that_timed_out_with_its_data_kept_is_no_drop)
{
	push_sized(4000);
	push_sized(3937);
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({sim::info("read data timeout\n")}));
	EXPECT_EQ(counter("records_dropped"), "0\n");
	EXPECT_EQ(counter("notify_timeouts"), "1\n");
}

TEST_F(Counters, answered_notification_is_no_time_out)
{
	push_sized(4000);
	push_sized(3937);
	kernel.run_until_idle();
	hand_back();
	kernel.run_for(kCycle);
	EXPECT_EQ(counter("notify_timeouts"), "0\n");
}

TEST_F(Counters, empty_passes_are_signals_whose_record_went_with_another)
{
	push("cpu 0");
	kernel.move_to_cpu(1);
	push("cpu 1");
	kernel.run_until_idle();
	EXPECT_EQ(counter("empty_passes"), "1\n") << "the first pass took both";
}

TEST_F(Counters, are_gone_before_the_ring_buffer_they_read)
{
	kernel.faults.at("ring_buffer_free",
			 [this] { EXPECT_FALSE(kernel.sysfs.exists("module/zem/counters")); });
	unload();
}

TEST_F(Counters, unload_waits_for_their_reader)
{
	std::unique_ptr<sim::Thread> reader;
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	kernel.faults.at("sysfs_remove_group", [&] {
		kernel.faults.at("ring_buffer_entries_cpu", [this] { kernel.run_for(10); });
		reader = std::make_unique<sim::Thread>(kernel.spawn("reader", [this] {
			EXPECT_EQ(counter("records_pushed"), "1\n");
			EXPECT_EQ(kernel.ring_buffers.count(), 1U);
		}));
		kernel.run_until_idle();
		EXPECT_FALSE(reader->ended());
	});
	module.unload();
	EXPECT_TRUE(reader->ended());
}

class UncountedStartUp : public UnloadedTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(UncountedStartUp, goes_on_without_the_counters_and_says_so)
{
	kernel.faults.fail(GetParam(), 3);
	load();
	EXPECT_EQ(log(), LogLines({{4, "zem: no memory for /sys/module/zem/counters\n"}}));
	EXPECT_FALSE(kernel.sysfs.exists("module/zem/counters"));
	push("works");
	EXPECT_THAT(drained_payloads(), ElementsAre("works"));
	unload();
}

INSTANTIATE_TEST_SUITE_P(Counters, UncountedStartUp,
			 ::testing::Values("kobject_create_and_add", "sysfs_create_group"),
			 [](const auto &info) { return std::string(info.param); });

} /* namespace test */
