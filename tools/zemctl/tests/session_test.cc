// SPDX-License-Identifier: GPL-2.0
/*
 * The reading cycle with a simulated kernel: which records are taken, when the buffer is handed
 * back, and that every loss is reported.
 */
#include "kernel/session.h"

#include <gtest/gtest.h>

#include "fake_kernel.h"

namespace zemctl {

namespace {

using namespace std::chrono_literals;
using Payloads = std::vector<std::string>;

struct CollectingSink {
	bool deliver(const Reader &reader)
	{
		for (const Record &record : reader.records())
			payloads.push_back(payload_text(record));
		notes.insert(notes.end(), reader.notes().begin(), reader.notes().end());
		if (on_deliver)
			on_deliver();
		return payloads.size() < limit;
	}

	Payloads payloads, notes;
	std::size_t limit = SIZE_MAX;
	std::function<void()> on_deliver;
};

class SessionTest : public testing::Test, protected ThreeRecords {
protected:
	void run() { Session(kernel, reader, sink, options).run(); }
	/* The next wait calls @then and ends without a notification, unless @then makes one. */
	void quiet(std::function<void()> then = {})
	{
		kernel.on_wait.push_back([then] {
			if (then)
				then();
		});
	}

	/* Notifies while a record is half copied. The copy is complete after the next pause. */
	void notify_within_a_copy()
	{
		ByteVector half = a;
		half.back() = std::byte{0};
		kernel.append(half);
		kernel.notify();
		kernel.on_pause = [this] {
			kernel.empty_buffer();
			kernel.append(a);
			kernel.on_pause = nullptr;
		};
	}

	FakeKernel kernel;
	Reader reader;
	CollectingSink sink;
	SessionOptions options;
};

} // namespace

TEST_F(SessionTest, what_an_earlier_reader_left_is_taken_at_the_start)
{
	kernel.append(a);
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(kernel.hand_backs, 1) << "an empty buffer is not handed back";
	EXPECT_EQ(reader.counters().notifications, 0u);
}

TEST_F(SessionTest, a_notification_costs_one_look_and_no_pause)
{
	int looks = 0, pauses = 0;
	quiet();
	quiet([&] {
		kernel.append(a);
		kernel.append(b);
		kernel.notify();
		looks = kernel.looks;
		kernel.on_pause = [&] {
			pauses++;
		};
	});
	kernel.before_hand_back = [&] {
		looks = kernel.looks - looks;
	};
	quiet([&] {
		EXPECT_EQ(looks, 1);
		EXPECT_EQ(pauses, 0);
	});
	run();
	EXPECT_EQ(sink.payloads, (Payloads{"a", "bb"}));
	EXPECT_EQ(reader.counters().notifications, 1u);
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, records_go_out_only_after_the_hand_back)
{
	quiet();
	quiet([&] {
		kernel.append(a);
		kernel.notify();
	});
	sink.on_deliver = [&] {
		if (!sink.payloads.empty()) {
			EXPECT_EQ(kernel.hand_backs, 2);
		}
	};
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
}

TEST_F(SessionTest, a_record_shows_at_the_second_quiet_look_without_a_hand_back)
{
	quiet([&] { kernel.append(a); });
	quiet([&] { EXPECT_EQ(sink.payloads, Payloads()); });
	quiet([&] {
		EXPECT_EQ(sink.payloads, Payloads{"a"});
		EXPECT_EQ(kernel.hand_backs, 1) << "the one at the start";
	});
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(kernel.hand_backs, 2) << "the end hands back what was shown";
}

TEST_F(SessionTest, records_seen_early_are_not_shown_again_at_the_notification)
{
	quiet([&] { kernel.append(a); });
	quiet();
	quiet([&] {
		kernel.append(b);
		kernel.notify();
	});
	run();
	EXPECT_EQ(sink.payloads, (Payloads{"a", "bb"}));
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, what_arrives_between_look_and_hand_back_is_lost_and_said)
{
	quiet();
	quiet([&] {
		kernel.append(a);
		kernel.notify();
		kernel.before_hand_back = [&] {
			kernel.append(b);
			kernel.before_hand_back = nullptr;
		};
	});
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(reader.counters().lost_bytes, b.size());
	ASSERT_EQ(sink.notes.size(), 1u);
	EXPECT_NE(sink.notes[0].find("34 bytes arrived"), std::string::npos);
}

TEST_F(SessionTest, the_last_record_before_the_end_is_flushed)
{
	quiet([&] {
		kernel.append(a);
		kernel.stopped = true;
	});
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(kernel.used, 0u);
}

TEST_F(SessionTest, another_reader_between_two_looks_is_a_gap)
{
	quiet([&] { kernel.append(a); });
	quiet();
	quiet([&] {
		kernel.empty_buffer();
		kernel.append(b);
	});
	quiet();
	run();
	EXPECT_EQ(sink.payloads, (Payloads{"a", "bb"}));
	EXPECT_EQ(reader.counters().gaps, 1u);
}

TEST_F(SessionTest, another_reader_just_before_our_hand_back_is_a_gap)
{
	quiet();
	quiet([&] {
		kernel.append(a);
		kernel.notify();
		kernel.before_hand_back = [&] {
			kernel.empty_buffer();
			kernel.before_hand_back = nullptr;
		};
	});
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(reader.counters().gaps, 1u);
}

TEST_F(SessionTest, a_notification_right_after_the_start_is_not_trusted_at_one_look)
{
	/* It came during the first hand-back, which released the consumer. */
	kernel.after_hand_back = [&] {
		kernel.after_hand_back = nullptr;
		notify_within_a_copy();
	};
	quiet();
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, a_notification_older_than_the_consumers_timeout_is_not_trusted_either)
{
	quiet();
	quiet([&] {
		kernel.time += 6s;
		notify_within_a_copy();
	});
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, a_notification_that_came_during_a_hand_back_is_not_trusted)
{
	quiet();
	quiet([&] {
		kernel.time += 6s;
		kernel.append(b);
		kernel.notify();
	});
	/* That hand-back releases the consumer, which is copying when the session looks. */
	kernel.after_hand_back = [&] {
		if (kernel.hand_backs == 2)
			notify_within_a_copy();
	};
	quiet();
	run();
	EXPECT_EQ(sink.payloads, (Payloads{"bb", "a"}));
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, a_notification_that_came_while_the_process_was_stopped_is_not_trusted)
{
	ByteVector half = a;
	half.back() = std::byte{0};
	quiet();
	kernel.after_quiet = [&] {
		kernel.after_quiet = nullptr;
		kernel.notify();
		kernel.time += 6s;
		kernel.append(half);
	};
	quiet([&] {
		kernel.on_pause = [&] {
			kernel.empty_buffer();
			kernel.append(a);
			kernel.on_pause = nullptr;
		};
	});
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(reader.counters().gaps, 0u);
}

/* Each later notification is trusted at one look, without a pause. */
TEST_F(SessionTest, a_flood_from_the_start_costs_one_pause)
{
	int pauses = 0;
	kernel.on_pause = [&] {
		pauses++;
	};
	kernel.after_hand_back = [&] {
		/* The consumer fills the buffer after the session has looked for a notification. */
		if (kernel.hand_backs < 100)
			quiet([&] {
				kernel.append(a);
				kernel.notify();
			});
	};
	kernel.append(a);
	run();
	EXPECT_EQ(sink.payloads.size(), 100u);
	EXPECT_EQ(pauses, 2) << "one at the start, and one at the end";
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, a_notification_is_not_trusted_if_the_process_stops_after_it_has_looked_for_one)
{
	ByteVector half = a;
	half.back() = std::byte{0};
	kernel.append(b);
	kernel.before_check = [&] {
		kernel.before_check = nullptr;
		quiet([&] {
			/* The consumer has given up waiting, and copies. */
			kernel.time += 6s;
			kernel.append(half);
			kernel.notify();
			kernel.on_pause = [&] {
				kernel.empty_buffer();
				kernel.append(a);
				kernel.on_pause = nullptr;
			};
		});
	};
	run();
	EXPECT_EQ(sink.payloads, (Payloads{"bb", "a"}));
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, a_busy_buffer_is_not_handed_back_until_it_holds_still)
{
	std::uint64_t made = 0;
	kernel.notify();
	kernel.on_pause = [&] {
		if (kernel.used < 7000)
			kernel.append(made_record(ZEM_CHANNEL_TEST, "x", ++made));
	};
	for (int i = 0; i < 30; i++)
		quiet();
	run();
	EXPECT_GT(made, 100u);
	EXPECT_EQ(sink.payloads.size(), made);
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(SessionTest, it_ends_when_its_time_is_over)
{
	kernel.stop_when_idle = false;
	options.duration = 1s;
	for (int i = 0; i < 100; i++)
		quiet();
	const Clock::time_point start = kernel.now();
	run();
	EXPECT_GE(kernel.now() - start, 1s);
	EXPECT_LE(kernel.now() - start, 1s + 10ms);
	EXPECT_LT(kernel.waits, 25);
}

TEST_F(SessionTest, it_ends_when_the_receiver_has_enough)
{
	kernel.stop_when_idle = false;
	sink.limit = 2;
	quiet([&] { kernel.append(a); });
	quiet([&] { kernel.append(b); });
	quiet();
	run();
	EXPECT_EQ(sink.payloads, (Payloads{"a", "bb"}));
}

TEST_F(SessionTest, records_after_the_limit_are_left_to_the_next_reader)
{
	sink.limit = 1;
	quiet();
	quiet([&] {
		kernel.append(a);
		kernel.notify();
	});
	sink.on_deliver = [&] {
		if (kernel.hand_backs == 2)
			kernel.append(b);
	};
	run();
	EXPECT_EQ(sink.payloads, Payloads{"a"});
	EXPECT_EQ(kernel.hand_backs, 2);
	EXPECT_EQ(kernel.used, b.size());
}

TEST_F(SessionTest, a_buffer_that_never_holds_still_is_not_handed_back_at_the_end)
{
	quiet();
	std::uint64_t made = 0;
	quiet([&] {
		kernel.on_pause = [&] {
			made++;
			kernel.empty_buffer();
			kernel.append(made_record(ZEM_CHANNEL_TEST, "x", made));
		};
		kernel.stopped = true;
	});
	run();
	EXPECT_EQ(kernel.hand_backs, 1) << "the one at the start";
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
}

TEST_F(SessionTest, a_hundred_thousand_records_of_mixed_sizes_arrive_once_and_in_order)
{
	constexpr int kRecords = 100'000;
	int made = 0;
	const auto produce = [&] {
		while (made < kRecords && !kernel.notified) {
			const std::string number = std::to_string(made);
			const std::size_t size =
				number.size() + static_cast<std::size_t>(made * 37 % 600);
			kernel.append_or_wait(made_record(
				ZEM_CHANNEL_TEST, number + std::string(size - number.size(), '.'),
				static_cast<std::uint64_t>(++made)));
		}
	};
	std::function<void()> again = [&] {
		produce();
		if (made < kRecords || kernel.notified)
			kernel.on_wait.push_back(again);
	};
	quiet();
	kernel.on_wait.push_back(again);
	run();

	ASSERT_EQ(sink.payloads.size(), static_cast<std::size_t>(kRecords));
	for (int i = 0; i < kRecords; i++)
		ASSERT_EQ(std::stoi(sink.payloads[static_cast<std::size_t>(i)]), i);
	EXPECT_EQ(reader.counters().lost_bytes, 0u);
	EXPECT_EQ(reader.counters().gaps, 0u);
	EXPECT_GT(reader.counters().notifications, 1000u);
}

} // namespace zemctl
