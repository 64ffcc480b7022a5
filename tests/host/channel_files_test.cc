// SPDX-License-Identifier: GPL-2.0
/* Reading a channel's file hands the buffer back; writing it pushes a record. */
#include <cerrno>

#include "host/fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ChannelFiles : public ZemTest {};
class HandBack : public LargeRecordTest {};

TEST_F(ChannelFiles, write_is_a_record_on_the_channel_of_the_file_s_name)
{
	unsigned char id = 0;
	for (const char *channel : kChannels) {
		const std::string text = std::string(channel) + "\n";
		EXPECT_EQ(store(channel, text), static_cast<ssize_t>(text.size()));
		kernel.run_until_idle();
		ASSERT_THAT(payloads(records()), ElementsAre(text));
		EXPECT_EQ(records()[0].header.channel, id++);
		EXPECT_EQ(records()[0].header.sub_type, 0);
		hand_back();
	}
}

TEST_F(ChannelFiles, write_keeps_zero_bytes)
{
	const std::string text("a\0b\0", 4);
	EXPECT_EQ(store("dp", text), 4);
	EXPECT_THAT(drained_payloads(), ElementsAre(text));
}

TEST_F(ChannelFiles, write_of_nothing_is_no_record)
{
	EXPECT_EQ(store("wifi", ""), 0);
	EXPECT_THAT(drained_payloads(), IsEmpty());
}

TEST_F(ChannelFiles, write_of_479_bytes_is_taken)
{
	EXPECT_EQ(store("wifi", std::string(479, 'w')), 479);
	EXPECT_THAT(drained_payloads(), ElementsAre(std::string(479, 'w')));
	EXPECT_EQ(records()[0].header.channel, ZEM_CHANNEL_WIFI);
	EXPECT_EQ(records()[0].header.len, 479U);
}

TEST_F(ChannelFiles, write_of_480_bytes_and_more_is_refused)
{
	EXPECT_EQ(store("wifi", std::string(480, 'w')), -EINVAL);
	EXPECT_EQ(log(), LogLines({sim::err("buf len limit \n")}));
	EXPECT_EQ(store("wifi", std::string(5000, 'w')), -EINVAL);
	EXPECT_EQ(log(), LogLines({sim::err("buf len limit \n")}));
	EXPECT_THAT(drained_payloads(), IsEmpty());
}

TEST_F(ChannelFiles, write_is_taken_even_when_the_record_is_dropped)
{
	kernel.faults.fail("ring_buffer_lock_reserve");
	EXPECT_EQ(store("gpu", "lost"), 4);
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:36\n")}));
	store("trace_on", "0");
	EXPECT_EQ(store("gpu", "silent"), 6);
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n")}));
	EXPECT_THAT(drained_payloads(), IsEmpty());
}

TEST_F(HandBack, read_is_the_pending_bytes_as_a_binary_number)
{
	push_sized(100);
	kernel.run_until_idle();
	EXPECT_EQ(show("usb"), std::string("\x64\0\0\0", 4));
	EXPECT_EQ(show("usb"), "");
}

TEST_F(HandBack, any_channel_s_file_will_do)
{
	for (const char *channel : kChannels) {
		push("pending");
		kernel.run_until_idle();
		EXPECT_EQ(hand_back(channel), 39U) << channel;
	}
}

TEST_F(HandBack, zeroes_the_whole_buffer)
{
	push_sized(4000);
	push_sized(3936);
	kernel.run_until_idle();
	EXPECT_EQ(hand_back(), 7936U);
	EXPECT_THAT(shared(), Each(std::byte{0}));
	/* The next record is at the start of the buffer. */
	push("again");
	EXPECT_THAT(drained_payloads(), ElementsAre("again"));
}

TEST_F(HandBack, of_an_empty_buffer_releases_a_consumer_that_waits)
{
	push_sized(4000);
	push_sized(3937);
	kernel.run_until_idle();
	ASSERT_EQ(notifications(), 1U);
	EXPECT_EQ(hand_back(), 7937U);
	push_sized(4000);
	push_sized(3937);
	/* The buffer is emptied between the append and the notification, so there is nothing to
	 * hand back. */
	kernel.faults.at("reinit_completion", [this] { EXPECT_EQ(hand_back(), 7937U); });
	kernel.run_until_idle();
	ASSERT_EQ(notifications(), 2U);
	push("waits");
	EXPECT_THAT(drained_payloads(), IsEmpty());
	EXPECT_EQ(show("kmem"), "");
	EXPECT_THAT(drained_payloads(), ElementsAre("waits"));
	EXPECT_EQ(kernel.clock.ticks(), 0U);
}

TEST_F(HandBack, of_two_concurrent_readers_one_gets_the_bytes)
{
	push("once");
	kernel.run_until_idle();
	unsigned int sum = 0;
	sim::Thread first = kernel.spawn("first", [&] { sum += hand_back("usb"); });
	sim::Thread second = kernel.spawn("second", [&] { sum += hand_back("dp"); });
	first.join();
	second.join();
	EXPECT_EQ(sum, 36U);
}

TEST_F(HandBack, poller_reads_what_it_was_notified_of)
{
	std::vector<std::string> seen;
	sim::Thread daemon = kernel.spawn("daemon", [&] {
		sim::Poller poller = kernel.sysfs.poll("zem/trace");
		for (int round = 0; round < 3; round++) {
			poller.wait();
			for (std::string &payload : payloads(records()))
				seen.push_back(payload.substr(0, 1));
			hand_back();
		}
	});
	kernel.run_until_idle();
	for (const char fill : {'a', 'b', 'c'}) {
		push_sized(4000, fill);
		push_sized(3937, fill);
		kernel.run_until_idle();
	}
	daemon.join();
	EXPECT_THAT(seen, ElementsAre("a", "a", "b", "b", "c", "c"));
	EXPECT_EQ(kernel.clock.ticks(), 0U);
}

} /* namespace test */
