// SPDX-License-Identifier: GPL-2.0
/* The record of a producer's call: the header, the limits, and concurrent changes. */
#include <climits>
#include <cstring>

#include "host/fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Records : public ZemTest {
protected:
	/* A signal without a record causes an empty pass. */
	[[nodiscard]] std::string empty_passes()
	{
		return kernel.sysfs.read("module/zem/counters/empty_passes").data;
	}
};
class LargeRecords : public LargeRecordTest {};

TEST_F(Records, header_is_as_laid_out_byte_for_byte)
{
	kernel.clock.set_realtime_ns(0x1122334455667788);
	setter("test")(0xffff'ffff'ffff'ffff, "abcd", 4, 0xaabbcc07);
	kernel.run_until_idle();

	const unsigned char expected[37] = {
		0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, /* timestamp */
		1,    0,    0,	  0, /* train_number */
		11,   7, /* channel, low byte of sub_type */
		0,    0,    0,	  0,	0,    0,    0,	  0,	0, 0, /* reserved */
		4,    0,    0,	  0, /* len */
		0,    0,    0,	  0, /* reserved */
		'a',  'b',  'c',  'd',	0, /* payload; the buffer's rest is zero */
	};
	EXPECT_EQ(memcmp(shared().data(), expected, sizeof(expected)), 0)
		<< ::testing::PrintToString(std::vector<unsigned char>(
			   reinterpret_cast<unsigned char *>(shared().data()),
			   reinterpret_cast<unsigned char *>(shared().data()) + 37));
}

TEST_F(Records, timestamp_is_the_wall_clock_at_the_reservation)
{
	kernel.clock.set_realtime_ns(1'234'567'890'987'654'321);
	push("now");
	kernel.clock.set_realtime_ns(0);
	kernel.run_until_idle();
	ASSERT_THAT(records(), SizeIs(1));
	EXPECT_EQ(records()[0].header.timestamp, 1'234'567'890'987'654'321U);
}

TEST_F(Records, every_setter_has_the_id_of_its_row)
{
	for (const char *channel : kChannels)
		push(channel, channel, 3);
	kernel.run_until_idle();
	const auto all = records();
	ASSERT_THAT(all, SizeIs(21));
	for (unsigned int id = 0; id < 21; id++) {
		EXPECT_EQ(all[id].header.channel, id);
		EXPECT_EQ(all[id].header.sub_type, 3);
		EXPECT_EQ(all[id].payload, kChannels[id]);
	}
}

TEST_F(Records, empty_payload_is_a_record_with_only_a_header)
{
	setter("fs")(0, "", 0, 0);
	push("next", "gpu");
	EXPECT_THAT(drained_payloads(), ElementsAre("", "next"));
	EXPECT_EQ(records()[0].header.channel, ZEM_CHANNEL_FS);
	EXPECT_EQ(hand_back(), 32U + 36U);
}

TEST_F(Records, records_stand_back_to_back_whatever_their_length)
{
	push("a");
	push("bcd");
	push("efghi");
	EXPECT_THAT(drained_payloads(), ElementsAre("a", "bcd", "efghi"));
	EXPECT_EQ(hand_back(), 3U * 32U + 9U);
}

TEST_F(LargeRecords, payload_of_7904_bytes_is_accepted)
{
	push(std::string(7904, 'L'));
	EXPECT_THAT(drained_payloads(), ElementsAre(std::string(7904, 'L')));
	EXPECT_EQ(records()[0].header.len, 7904U);
	EXPECT_EQ(hand_back(), 7936U);
}

TEST_F(LargeRecords, payload_of_7905_bytes_is_too_large)
{
	push(std::string(7905, 'L'));
	EXPECT_EQ(log(), LogLines({sim::err("zem : too large data 7937 !\n")}));
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(kernel.ring_buffers.statistics().refusals, 0U);
}

TEST_F(Records, payload_that_a_page_of_the_ring_buffer_cannot_hold_is_refused_by_it)
{
	push(std::string(4040, 'p'));
	push(std::string(4041, 'q'));
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:4073\n")}));
	EXPECT_THAT(drained_payloads(), ElementsAre(std::string(4040, 'p')));
}

struct BadLength {
	int len;
	const char *message;
};

class BadLengths : public ZemTest, public ::testing::WithParamInterface<BadLength> {};

TEST_P(BadLengths, are_logged_with_the_event_length_and_leave_no_record)
{
	const char byte = 'x';
	setter("wifi")(0, &byte, GetParam().len, 0);
	EXPECT_EQ(log(), LogLines({sim::err(GetParam().message)}));
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(kernel.ring_buffers.statistics().commits, 0U);
	EXPECT_EQ(kernel.ring_buffers.statistics().refusals, 0U);
}

INSTANTIATE_TEST_SUITE_P(
	Records, BadLengths,
	::testing::Values(BadLength{-1, "get ringbuffer fail event_len:31\n"},
			  BadLength{-31, "get ringbuffer fail event_len:1\n"},
			  BadLength{-32, "get ringbuffer fail event_len:0\n"},
			  BadLength{-33, "get ringbuffer fail event_len:-1\n"},
			  BadLength{INT_MIN, "get ringbuffer fail event_len:-2147483616\n"},
			  BadLength{INT_MAX, "get ringbuffer fail event_len:-2147483617\n"},
			  BadLength{INT_MAX - 31, "get ringbuffer fail event_len:-2147483648\n"},
			  BadLength{INT_MAX - 32, "zem : too large data 2147483647 !\n"}));

TEST_F(Records, refused_reservation_is_logged_and_the_record_lost)
{
	kernel.faults.fail("ring_buffer_lock_reserve");
	push("lost");
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:36\n")}));
	push("kept");
	EXPECT_THAT(drained_payloads(), ElementsAre("kept"));
}

TEST_F(Records, nothing_is_recorded_or_signalled_while_trace_on_is_0)
{
	store("trace_on", "0");
	for (const char *channel : kChannels)
		push("silent", channel);
	push(std::string(7905, 'L'));
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
	EXPECT_EQ(kernel.ring_buffers.statistics().commits, 0U);
	EXPECT_EQ(empty_passes(), "0\n");
}

TEST_F(Records, failed_reservation_is_not_signalled)
{
	kernel.faults.fail("ring_buffer_lock_reserve");
	push("refused");
	push(std::string(7905, 'L'));
	kernel.run_until_idle();
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:39\n"),
				   sim::err("zem : too large data 7937 !\n")}));
	EXPECT_EQ(empty_passes(), "0\n");
}

TEST_F(Records, reservation_overtaken_by_trace_on_0_is_given_back)
{
	/* Between the reservation and the commit. */
	kernel.faults.at("ktime_get_real_ns", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { store("trace_on", "0"); });
	});
	push("overtaken");
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 0);

	const sim::RingStatistics ring = kernel.ring_buffers.statistics();
	EXPECT_EQ(ring.commits, 0U);
	EXPECT_EQ(ring.discards, 1U);
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(empty_passes(), "0\n") << "nobody was signalled";

	/* The CPU's part of the ring still works. */
	store("trace_on", "1");
	push("after");
	EXPECT_THAT(drained_payloads(), ElementsAre("after"));
	EXPECT_EQ(log(),
		  LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n")}));
}

TEST_F(Records, only_a_signal_that_finds_none_waiting_wakes_the_consumer)
{
	kernel.run_until_idle();
	unsigned int wake_ups = 0;
	for (unsigned int strike = 1; strike <= 3; strike++)
		kernel.faults.at("complete", [&] { wake_ups++; }, strike);
	push("one");
	push("two");
	push("three");
	EXPECT_EQ(wake_ups, 1U);
	EXPECT_THAT(drained_payloads(), ElementsAre("one", "two", "three"));
	push("four");
	EXPECT_EQ(wake_ups, 2U);
	kernel.faults.clear();
	EXPECT_THAT(drained_payloads(), ElementsAre("one", "two", "three", "four"));
}

/* A producer that is preempted before it wakes the consumer would keep others from doing so. */
TEST_F(Records, producer_that_wakes_the_consumer_is_not_preempted)
{
	kernel.run_until_idle();
	int preempt_count = 0;
	kernel.faults.at("complete",
			 [&] { preempt_count = sim::Scheduler::current().preempt_count; });
	push("one");
	EXPECT_EQ(preempt_count, 1);
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 0);
}

/* Nothing depends on it then, and most records of a burst come then. */
TEST_F(Records, producer_that_finds_a_signal_does_not_touch_preemption)
{
	kernel.run_until_idle();
	push("one");
	const unsigned long disabled = sim::Scheduler::current().preempt_disables;
	push("two");
	EXPECT_EQ(sim::Scheduler::current().preempt_disables, disabled);
	EXPECT_THAT(drained_payloads(), ElementsAre("one", "two"));
}

TEST_F(Records, signal_that_comes_during_a_pass_wakes_nobody_and_has_its_pass)
{
	kernel.run_until_idle();
	push("one");
	unsigned int wake_ups = 0;
	for (unsigned int strike = 1; strike <= 2; strike++)
		kernel.faults.at("complete", [&] { wake_ups++; }, strike);
	kernel.faults.at("ring_buffer_consume", [this] { push("meanwhile"); });
	EXPECT_THAT(drained_payloads(), ElementsAre("one", "meanwhile"));
	EXPECT_EQ(wake_ups, 0U);
	kernel.faults.clear();
	push("after");
	EXPECT_THAT(drained_payloads(), ElementsAre("one", "meanwhile", "after"));
}

TEST_F(Records, under_a_run_queue_lock_an_interrupt_wakes_the_consumer)
{
	kernel.run_until_idle();
	kernel.irq_works.hold();
	kernel.under_run_queue_lock([this] { push("locked"); });
	push("later");
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(kernel.irq_works.release(), 1U);
	EXPECT_THAT(drained_payloads(), ElementsAre("locked", "later"));
}

TEST_F(Records, in_an_interrupt_another_interrupt_wakes_the_consumer)
{
	kernel.run_until_idle();
	kernel.irq_works.hold();
	kernel.interrupt([this] { push("interrupt"); });
	EXPECT_EQ(kernel.irq_works.pending(), 1U);
	EXPECT_EQ(kernel.irq_works.release(), 1U);
	EXPECT_THAT(drained_payloads(), ElementsAre("interrupt"));
}

/* The simulated kernel notes a problem if a printk could wake a task there. */
TEST_F(Records, refusals_under_a_run_queue_lock_are_logged)
{
	const std::string bytes(8000, 'x');
	kernel.under_run_queue_lock([&] {
		kernel.faults.fail("ring_buffer_lock_reserve");
		push("refused");
		push(bytes);
	});
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:39\n"),
				   sim::err("zem : too large data 8032 !\n")}));
}

TEST_F(Records, interrupt_between_reservation_and_commit_may_push_too)
{
	kernel.faults.at("ktime_get_real_ns",
			 [this] { kernel.interrupt([this] { push("interrupt", "usb"); }); });
	push("process", "test");
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 0);
	EXPECT_THAT(drained_payloads(), ElementsAre("process", "interrupt"));
}

TEST_F(Records, recursion_that_the_ring_buffer_refuses_is_logged)
{
	/* A second level of the same context is accepted, a third one is not. */
	kernel.faults.at("ktime_get_real_ns", [this] { push("second"); });
	kernel.faults.at("ktime_get_real_ns", [this] { push("third"); }, 2);
	push("first");
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:37\n")}));
	EXPECT_THAT(drained_payloads(), ElementsAre("first", "second"));
}

TEST_F(Records, train_number_is_1_after_load_and_then_as_triggered)
{
	push("one");
	store("trigger", "42");
	push("two");
	kernel.run_until_idle();
	/* The trigger's own records, sched and kzerod, are in between. */
	ASSERT_THAT(records(), SizeIs(4));
	EXPECT_EQ(records()[0].header.train_number, 1U);
	EXPECT_EQ(records()[1].header.train_number, 42U);
	EXPECT_EQ(records()[3].header.train_number, 42U);
}

TEST_F(Records, overwriting_loses_the_oldest)
{
	constexpr int kPushed = 40;
	for (int i = 0; i < kPushed; i++)
		push(std::to_string(i) + std::string(1000, ' '));
	const sim::RingStatistics ring = kernel.ring_buffers.statistics();
	EXPECT_GT(ring.overruns, 0U);
	const auto left = static_cast<size_t>(ring.entries);
	ASSERT_EQ(left + ring.overruns, static_cast<size_t>(kPushed));

	std::vector<int> numbers;
	while (numbers.size() < left) {
		sim::Thread reader = kernel.spawn("reader", [&] {
			sim::Poller poller = kernel.sysfs.poll("zem/trace");
			poller.wait(1);
			for (const std::string &payload : payloads(records()))
				numbers.push_back(std::stoi(payload));
			hand_back();
		});
		reader.join();
	}
	std::vector<int> newest;
	for (int i = kPushed - static_cast<int>(left); i < kPushed; i++)
		newest.push_back(i);
	EXPECT_EQ(numbers, newest);
}

} /* namespace test */
