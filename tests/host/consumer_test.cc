// SPDX-License-Identifier: GPL-2.0
/* The consumer: the records of a pass, notifications, and dropped records. */
#include <cstring>
#include <utility>

#include "host/fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Consumer : public LargeRecordTest {
protected:
	/* Causes a notification and answers it immediately: from now on the time rule applies. */
	void notify_once()
	{
		const unsigned long before = notifications();
		push_sized(4000);
		push_sized(3937);
		kernel.run_until_idle();
		ASSERT_EQ(notifications(), before + 1);
		ASSERT_EQ(hand_back(), 7937U);
	}

	[[nodiscard]] sim::Ticks now() const { return kernel.clock.ticks(); }

	void push_on(unsigned int cpu, const std::string &payload)
	{
		kernel.move_to_cpu(cpu);
		push(payload);
	}

	/* Two records that exceed the buffer together by one byte: the second finds no room. */
	void fill_to_the_brim()
	{
		push_sized(4096, 'a');
		push_sized(4096, 'b');
	}

	const std::string half_a = std::string(4096 - 32, 'a');
	const std::string half_b = std::string(4096 - 32, 'b');
	const sim::LogLine timeout = sim::info("read data timeout\n");
	const sim::LogLine drop = sim::info("read data timeout, drop it\n");
};

class WideMachine : public ZemTest {
protected:
	WideMachine() : ZemTest({.cpus = 40}) {}
};

TEST_F(Consumer, pass_takes_cpus_in_ascending_order)
{
	push_on(2, "of cpu 2");
	push_on(0, "of cpu 0");
	push_on(7, "of cpu 7");
	EXPECT_THAT(drained_payloads(), ElementsAre("of cpu 0", "of cpu 2", "of cpu 7"));
}

TEST_F(Consumer, pass_takes_one_record_of_each_cpu)
{
	push_on(0, "0 first");
	push_on(0, "0 second");
	push_on(1, "1 first");
	push_on(1, "1 second");
	EXPECT_THAT(drained_payloads(), ElementsAre("0 first", "1 first", "0 second", "1 second"));
}

TEST_F(Consumer, each_signal_is_one_pass)
{
	/* Two records but only one signal, because the other is suppressed. */
	kernel.run_until_idle();
	trace_buffer *buffer = inside().ring_buffer();
	for (int i = 0; i < 2; i++) {
		ring_buffer_event *event = nullptr;
		event = buffer->cpus[0]->reserve(32, 2, 0);
		memset(event->data(), 0, 32);
		event->data()[0] = std::byte{1};
		ASSERT_TRUE(buffer->cpus[0]->commit());
	}
	EXPECT_THAT(drained_payloads(), IsEmpty());
	push("signals");
	EXPECT_THAT(drained_payloads(), ElementsAre(""));
}

/*
 * An interrupt commits inside the reservation of the code that it interrupted. Its record can be
 * taken only after the outer commit, but its signal may arrive earlier.
 */
TEST_F(Consumer, record_behind_an_open_reservation_gets_a_later_pass)
{
	kernel.run_until_idle();
	kernel.faults.at("ktime_get_real_ns", [this] {
		kernel.interrupt([this] { push("interrupt"); });
		kernel.run_until_idle();
	});
	push("process");
	EXPECT_THAT(drained_payloads(), ElementsAre("process", "interrupt"));
	push("next");
	EXPECT_THAT(drained_payloads(), ElementsAre("process", "interrupt", "next"));
	EXPECT_EQ(kernel.ring_buffers.statistics().entries, 0);
	EXPECT_EQ(kernel.sysfs.read("module/zem/counters/empty_passes").data, "1\n")
		<< "only the interrupt's own, which came too early";
}

TEST_F(Consumer, passes_of_several_records_behind_a_reservation_all_follow_later)
{
	kernel.run_until_idle();
	kernel.faults.at("ktime_get_real_ns", [this] {
		for (const char *payload : {"first", "second", "third"}) {
			kernel.interrupt([&] { push(payload); });
			kernel.run_until_idle();
		}
	});
	push("process");
	EXPECT_THAT(drained_payloads(), ElementsAre("process", "first", "second", "third"));
}

TEST_F(Consumer, later_passes_are_no_more_than_the_records_of_each_cpu)
{
	kernel.run_until_idle();
	kernel.faults.at("ktime_get_real_ns", [this] {
		kernel.interrupt([this] { push("interrupt"); });
		kernel.run_until_idle();
		/* Passes for other CPUs also find the record behind the reservation. */
		for (unsigned int cpu = 1; cpu < 7; cpu++) {
			kernel.scheduler.meanwhile_on_cpu(cpu, [this] { push("other"); });
			kernel.run_until_idle();
		}
	});
	push("process");
	kernel.run_until_idle();
	EXPECT_EQ(kernel.ring_buffers.statistics().entries, 0);
	EXPECT_THAT(records(), SizeIs(8));
	/* The interrupt's own pass, which came too early, and another attempt with each of the
	 * others. */
	EXPECT_EQ(kernel.sysfs.read("module/zem/counters/empty_passes").data, "7\n");
}

TEST_F(Consumer, record_behind_a_discarded_reservation_is_taken_at_the_next_signal)
{
	kernel.run_until_idle();
	kernel.faults.at("ktime_get_real_ns", [this] {
		kernel.interrupt([this] { push("interrupt"); });
		kernel.run_until_idle();
		kernel.scheduler.meanwhile_on_cpu(1, [this] { store("trace_on", "0"); });
	});
	push("given back");
	kernel.run_until_idle();
	store("trace_on", "1");
	push("next");
	EXPECT_THAT(drained_payloads(), ElementsAre("interrupt", "next"));
	EXPECT_EQ(log(),
		  LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n")}));
}

TEST_F(Consumer, cpu_that_is_offline_is_passed_over_until_it_is_back)
{
	push_on(3, "of cpu 3");
	kernel.cpus.set_online(3, false);
	EXPECT_THAT(drained_payloads(), IsEmpty());
	kernel.cpus.set_online(3, true);
	push_on(5, "of cpu 5");
	EXPECT_THAT(drained_payloads(), ElementsAre("of cpu 3", "of cpu 5"));
}

/* CPUs 0 and 8 share a counter, and 7 and 15. */
TEST_F(WideMachine, rings_of_all_cpus_are_answered)
{
	std::vector<std::string> pushed;
	for (unsigned int cpu = 0; cpu < 24; cpu++) {
		kernel.move_to_cpu(cpu);
		push(std::to_string(cpu));
		pushed.push_back(std::to_string(cpu));
	}
	EXPECT_THAT(drained_payloads(), ::testing::UnorderedElementsAreArray(pushed));
	EXPECT_EQ(kernel.sysfs.read("module/zem/counters/empty_passes").data, "23\n")
		<< "one pass for each ring, and the first took all";
	kernel.move_to_cpu(17);
	push("later");
	EXPECT_THAT(drained_payloads(), ::testing::Contains("later"));
}

TEST_F(WideMachine, cpus_from_32_on_are_not_scanned)
{
	kernel.move_to_cpu(32);
	push("of cpu 32");
	kernel.move_to_cpu(31);
	push("of cpu 31");
	EXPECT_THAT(drained_payloads(), ElementsAre("of cpu 31"));
	EXPECT_EQ(kernel.ring_buffers.statistics().entries, 1);
}

TEST_F(Consumer, missing_ring_buffer_is_logged)
{
	trace_buffer *saved = inside().ring_buffer();
	kernel.faults.at("complete", [&] { inside().set_ring_buffer(nullptr); });
	push("waits");
	kernel.run_until_idle();
	EXPECT_EQ(log(), LogLines({sim::info("ring buffer is NULL\n")}));
	inside().set_ring_buffer(saved);
	push("signals");
	push("both");
	EXPECT_THAT(drained_payloads(), ElementsAre("waits", "signals"));
}

TEST_F(Consumer, level_of_7936_bytes_is_not_notified)
{
	push_sized(7936);
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 0U);
	EXPECT_EQ(hand_back(), 7936U);
}

TEST_F(Consumer, level_of_7937_bytes_is_notified_and_waited_for)
{
	push_sized(4000);
	push_sized(3937);
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 1U);
	/* The consumer is waiting, so this record stays in the ring. */
	push("later");
	EXPECT_THAT(drained_payloads(), SizeIs(2));
	EXPECT_EQ(hand_back(), 7937U);
	EXPECT_THAT(drained_payloads(), ElementsAre("later"));
	EXPECT_EQ(now(), 0U);
}

TEST_F(Consumer, level_notification_nobody_answers_is_logged_after_5_s_and_the_data_kept)
{
	push_sized(4000);
	push_sized(3937);
	kernel.run_for(kCycle - 1);
	EXPECT_THAT(log(), IsEmpty());
	kernel.run_for(1);
	EXPECT_EQ(log(), LogLines({timeout}));
	push_sized(32 + 10);
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({timeout}));
	EXPECT_EQ(notifications(), 2U);
	EXPECT_EQ(hand_back(), 7937U + 42U);
}

TEST_F(Consumer, total_of_8191_bytes_fits)
{
	push_sized(4096, 'a');
	push_sized(4095, 'b');
	EXPECT_THAT(drained_payloads(), ElementsAre(half_a, std::string(4095 - 32, 'b')));
	EXPECT_EQ(notifications(), 1U);
	EXPECT_EQ(hand_back(), 8191U);
}

TEST_F(Consumer, total_of_8192_bytes_does_not_fit_and_the_record_is_dropped_after_5_s)
{
	fill_to_the_brim();
	kernel.run_for(kCycle - 1);
	EXPECT_EQ(notifications(), 1U);
	EXPECT_THAT(log(), IsEmpty());
	kernel.run_for(1);
	EXPECT_EQ(log(), LogLines({drop}));
	EXPECT_THAT(payloads(records()), ElementsAre(half_a));
}

TEST_F(Consumer, without_a_reader_every_record_that_does_not_fit_costs_5_s)
{
	fill_to_the_brim();
	push_sized(4096, 'c');
	push_sized(4095, 'd');
	kernel.run_for(2 * kCycle);
	EXPECT_EQ(log(), LogLines({drop, drop}));
	EXPECT_EQ(notifications(), 3U) << "the one that fits raises a level notification";
	EXPECT_EQ(hand_back(), 8191U);
}

TEST_F(Consumer, record_that_found_no_room_is_appended_after_the_hand_back)
{
	notify_once();
	fill_to_the_brim();
	EXPECT_THAT(drained_payloads(), ElementsAre(half_a));
	EXPECT_EQ(notifications(), 2U);
	EXPECT_EQ(hand_back("usb"), 4096U);
	EXPECT_THAT(drained_payloads(), ElementsAre(half_b));
	EXPECT_EQ(notifications(), 2U);
	EXPECT_EQ(now(), 0U);
}

TEST_F(Consumer, very_first_notification_for_room_is_followed_by_one_for_time)
{
	/* The gap starts at the previous notification, and there was none. */
	fill_to_the_brim();
	kernel.run_until_idle();
	EXPECT_EQ(hand_back(), 4096U);
	EXPECT_THAT(drained_payloads(), ElementsAre(half_b));
	EXPECT_EQ(notifications(), 2U);
	EXPECT_EQ(hand_back(), 4096U);
}

/* The reader has not returned from its hand-back when later records fill the buffer. */
TEST_F(Consumer, hand_back_that_came_before_answers_no_notification_for_room)
{
	kernel.faults.at("complete", [this] {
		fill_to_the_brim();
		kernel.run_until_idle();
	});
	EXPECT_EQ(hand_back(), 0U);
	EXPECT_THAT(drained_payloads(), ElementsAre(half_a));
	EXPECT_EQ(notifications(), 1U);
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({drop}));
	EXPECT_EQ(hand_back(), 4096U);
}

TEST_F(Consumer, hand_back_that_came_before_answers_no_notification_of_the_level)
{
	kernel.faults.at("complete", [this] {
		push_sized(4000);
		push_sized(3937);
		kernel.run_until_idle();
	});
	EXPECT_EQ(hand_back(), 0U);
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 1U);
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({timeout}));
	EXPECT_EQ(hand_back(), 7937U);
}

TEST_F(Consumer, pass_continues_with_the_next_cpu_after_a_drop)
{
	push_sized(4096, 'a');
	kernel.run_until_idle();
	push_sized(4096, 'b');
	push_on(1, "of cpu 1");
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({drop}));
	EXPECT_THAT(payloads(records()), ElementsAre(half_a, "of cpu 1"));
	/* The first pass took the record, so its own pass found nothing. */
	EXPECT_EQ(kernel.sysfs.read("module/zem/counters/empty_passes").data, "1\n");
}

TEST_F(Consumer, pass_continues_with_the_next_cpu_after_an_answered_notification)
{
	push_sized(4000);
	kernel.run_until_idle();
	push_sized(3937);
	push_on(1, "of cpu 1");
	kernel.run_until_idle();
	EXPECT_EQ(hand_back(), 7937U);
	EXPECT_THAT(drained_payloads(), ElementsAre("of cpu 1"));
	EXPECT_EQ(kernel.sysfs.read("module/zem/counters/empty_passes").data, "1\n");
}

TEST_F(Consumer, hand_back_clears_the_whole_buffer_whatever_a_reader_wrote_there)
{
	push("short");
	kernel.run_until_idle();
	memset(shared().data(), 0xff, shared().size());
	EXPECT_EQ(hand_back(), 37U);
	EXPECT_THAT(shared(), ::testing::Each(std::byte{0}));
}

TEST_F(Consumer, count_beyond_the_buffer_is_logged_and_cut)
{
	push("short");
	kernel.run_until_idle();
	inside().set_bytes_in_use(8193);
	EXPECT_EQ(hand_back(), 8192U);
	EXPECT_EQ(log(), LogLines({sim::err("data len is out of memory\n")}));
	inside().set_bytes_in_use(8192);
	EXPECT_EQ(hand_back(), 8192U);
	EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Consumer, hand_back_before_the_notification_is_forgotten_by_it)
{
	EXPECT_EQ(hand_back(), 0U);
	EXPECT_EQ(hand_back(), 0U);
	push_sized(4000);
	push_sized(3937);
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({timeout}));
}

TEST_F(Consumer, hand_back_during_the_notification_counts)
{
	/* The notified poller hands back before the consumer begins to wait. */
	kernel.faults.at("sysfs_notify", [this] { EXPECT_EQ(hand_back("kmem"), 7937U); });
	push_sized(4000);
	push_sized(3937);
	kernel.run_for(2 * kCycle);
	EXPECT_THAT(records(), IsEmpty());
}

TEST_F(Consumer, time_rule_is_not_armed_before_the_first_notification)
{
	for (int i = 0; i < 5; i++) {
		kernel.clock.step_realtime_ns(100 * kNanosecondsPerSecond);
		push("old");
		kernel.run_until_idle();
	}
	EXPECT_EQ(notifications(), 0U);
}

class TimeRule : public Consumer {
protected:
	void SetUp() override
	{
		Consumer::SetUp();
		notify_once();
	}

	/* Checks the gap after the last, second notification: one ns less than @gap does not
	 * notify. */
	void expect_next_notification_after(int64_t gap)
	{
		kernel.clock.step_realtime_ns(gap - 1);
		push("early");
		kernel.run_until_idle();
		EXPECT_EQ(notifications(), 2U);
		kernel.clock.step_realtime_ns(1);
		push("due");
		kernel.run_until_idle();
		EXPECT_EQ(notifications(), 3U);
		hand_back();
	}
};

TEST_F(TimeRule, gap_of_a_nanosecond_less_than_16_s_is_not_notified)
{
	kernel.clock.step_realtime_ns(16 * kNanosecondsPerSecond - 1);
	push("early");
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 1U);
}

TEST_F(TimeRule, gap_of_16_s_is_notified)
{
	kernel.clock.step_realtime_ns(16 * kNanosecondsPerSecond);
	push("due");
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 2U);
	EXPECT_EQ(hand_back(), 35U);
	/* The next gap starts at this record. */
	kernel.clock.step_realtime_ns(16 * kNanosecondsPerSecond - 1);
	push("early");
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 2U);
}

TEST_F(TimeRule, gap_is_counted_from_the_last_notification_not_from_the_last_record)
{
	for (int i = 0; i < 3; i++) {
		kernel.clock.step_realtime_ns(5 * kNanosecondsPerSecond);
		push("between");
		kernel.run_until_idle();
	}
	EXPECT_EQ(notifications(), 1U);
	kernel.clock.step_realtime_ns(1 * kNanosecondsPerSecond);
	push("due");
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 2U);
	hand_back();
}

TEST_F(TimeRule, clock_that_was_set_back_is_not_a_gap)
{
	kernel.clock.step_realtime_ns(-3600 * kNanosecondsPerSecond);
	push("earlier");
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 1U);
}

TEST_F(TimeRule, gap_is_counted_from_a_notification_nobody_answered)
{
	kernel.clock.step_realtime_ns(16 * kNanosecondsPerSecond);
	push("unanswered");
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({timeout}));
	ASSERT_EQ(notifications(), 2U);
	/* The time-out itself took 5 s. */
	expect_next_notification_after(11 * kNanosecondsPerSecond);
}

TEST_F(TimeRule, gap_is_counted_from_a_record_that_was_dropped)
{
	push_sized(4096, 'a');
	kernel.run_until_idle();
	push_sized(4096, 'b');
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({drop}));
	ASSERT_EQ(notifications(), 2U);
	expect_next_notification_after(11 * kNanosecondsPerSecond);
}

TEST_F(TimeRule, gap_is_counted_from_a_notification_after_the_clock_was_set_back)
{
	kernel.clock.step_realtime_ns(-3600 * kNanosecondsPerSecond);
	notify_once();
	expect_next_notification_after(16 * kNanosecondsPerSecond);
}

TEST_F(TimeRule, time_notification_nobody_answers_keeps_the_data)
{
	kernel.clock.step_realtime_ns(20 * kNanosecondsPerSecond);
	push("kept");
	kernel.run_for(kCycle);
	EXPECT_EQ(log(), LogLines({timeout}));
	EXPECT_THAT(payloads(records()), ElementsAre("kept"));
}

TEST_F(TimeRule, level_notification_takes_the_place_of_one_for_time)
{
	kernel.clock.step_realtime_ns(20 * kNanosecondsPerSecond);
	push_sized(7936, 'x');
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 2U);
	hand_back();
	push_sized(4000);
	push_sized(3937);
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 3U);
	hand_back();
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 3U);
}

TEST_F(TimeRule, gap_is_that_before_the_notification_for_the_record_s_own_room)
{
	push_sized(4096, 'a');
	kernel.run_until_idle();
	kernel.clock.step_realtime_ns(16 * kNanosecondsPerSecond);
	push_sized(4096, 'b');
	kernel.run_until_idle();
	ASSERT_EQ(notifications(), 2U);
	EXPECT_EQ(hand_back(), 4096U);
	kernel.run_until_idle();
	EXPECT_EQ(notifications(), 3U) << "again, 16 s after the notification before";
	EXPECT_EQ(hand_back(), 4096U);
}

} /* namespace test */
