// SPDX-License-Identifier: GPL-2.0
/* /sys/zem/trace_on: accepted writes, and the collector that it starts and stops. */
#include <cerrno>

#include "host/fixture.h"

namespace test {

using ::testing::ElementsAre;

class TraceSwitch : public ZemTest {
protected:
	[[nodiscard]] bool collector_runs()
	{
		for (const std::string &name : kernel.scheduler.unfinished())
			if (name == "ts_timer_getdata_thread")
				return true;
		return false;
	}

	const sim::LogLine disabled = sim::info("trace_on disable\n");
	const sim::LogLine enabled = sim::info("trace_on enable\n");
};

TEST_F(TraceSwitch, other_values_are_refused_and_change_nothing)
{
	for (const char *text :
	     {"2", "-1", "10", "abc", " ", "\n", "+0", "4294967298", "-4294967295 x"}) {
		const bool wraps_to_1 = std::string(text) == "-4294967295 x";
		EXPECT_EQ(store("trace_on", text), wraps_to_1 ? 13 : -EINVAL) << text;
		EXPECT_EQ(show("trace_on"), "1\n");
	}
}

TEST_F(TraceSwitch, text_around_the_number_is_ignored)
{
	EXPECT_EQ(store("trace_on", " 0 off\n"), 7);
	EXPECT_EQ(show("trace_on"), "0\n");
	EXPECT_EQ(log(), LogLines({disabled}));
}

TEST_F(TraceSwitch, writing_1_while_it_is_1_does_nothing)
{
	EXPECT_EQ(store("trace_on", "1"), 1);
	EXPECT_FALSE(collector_runs());
}

TEST_F(TraceSwitch, writing_0_and_1_starts_the_collector)
{
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_FALSE(collector_runs());
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_EQ(log(), LogLines({disabled}));
	EXPECT_EQ(store("trace_on", "1\n"), 2);
	EXPECT_TRUE(collector_runs());
	EXPECT_EQ(show("trace_on"), "1\n");
	EXPECT_EQ(log(), LogLines({enabled}));
	EXPECT_EQ(store("trace_on", "1"), 1);
	EXPECT_EQ(log(), LogLines{});
}

TEST_F(TraceSwitch, writing_0_ends_the_collector_before_it_returns)
{
	store("trace_on", "0");
	store("trace_on", "1");
	kernel.run_until_idle();
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_FALSE(collector_runs());
	EXPECT_EQ(log(), LogLines({disabled, enabled, disabled}));
}

TEST_F(TraceSwitch, is_off_for_producers_while_the_collector_is_being_stopped)
{
	store("trace_on", "0");
	store("trace_on", "1");
	kernel.run_until_idle();
	sim::Thread writer = kernel.spawn("writer", [this] { store("trace_on", "0"); });
	kernel.run_until_idle();
	EXPECT_FALSE(writer.ended());
	EXPECT_EQ(show("trace_on"), "0\n");
	push("dropped");
	writer.join();
	EXPECT_EQ(log(), LogLines({disabled, enabled, disabled}));
	EXPECT_EQ(kernel.ring_buffers.statistics().commits, 0U);
}

TEST_F(TraceSwitch, without_a_thread_it_stays_1_and_answers_EINVAL)
{
	store("trace_on", "0");
	kernel.faults.fail("kthread_create");
	EXPECT_EQ(store("trace_on", "1"), -EINVAL);
	EXPECT_EQ(show("trace_on"), "1\n");
	EXPECT_FALSE(collector_runs());
	EXPECT_EQ(log(),
		  LogLines({disabled, enabled, sim::err("failed to restart getdata_thread\n")}));
	/* Records are still pushed. */
	push("recorded");
	EXPECT_THAT(drained_payloads(), ElementsAre("recorded"));
	/* The next attempt creates its thread. */
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_EQ(store("trace_on", "1"), 1);
	EXPECT_TRUE(collector_runs());
	EXPECT_EQ(log(), LogLines({disabled, enabled}));
}

TEST_F(TraceSwitch, two_writers_of_0_stop_the_collector_once)
{
	store("trace_on", "0");
	store("trace_on", "1");
	kernel.run_until_idle();
	ssize_t results[2] = {};
	sim::Thread first = kernel.spawn("first", [&] { results[0] = store("trace_on", "0"); });
	sim::Thread second = kernel.spawn("second", [&] { results[1] = store("trace_on", "0"); });
	first.join();
	second.join();
	EXPECT_THAT(results, ElementsAre(1, 1));
	EXPECT_FALSE(collector_runs());
	EXPECT_EQ(log(), LogLines({disabled, enabled, disabled}));
}

TEST_F(TraceSwitch, writers_of_0_and_of_1_take_turns)
{
	store("trace_on", "0");
	store("trace_on", "1");
	kernel.run_until_idle();
	sim::Thread off = kernel.spawn("off", [this] { EXPECT_EQ(store("trace_on", "0"), 1); });
	sim::Thread on = kernel.spawn("on", [this] { EXPECT_EQ(store("trace_on", "1"), 1); });
	off.join();
	on.join();
	EXPECT_EQ(show("trace_on"), "1\n");
	EXPECT_TRUE(collector_runs());
	EXPECT_EQ(log(), LogLines({disabled, enabled, disabled, enabled}));
}

} /* namespace test */
