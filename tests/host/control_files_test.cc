// SPDX-License-Identifier: GPL-2.0
/* /sys/zem: its files, and the values that the intervals, rb_size and trigger accept. */
#include <cerrno>

#include "host/fixture.h"

namespace test {

using ::testing::IsEmpty;

class ControlFiles : public ZemTest {};

TEST_F(ControlFiles, are_32_in_order_with_their_modes)
{
	std::vector<std::pair<std::string, unsigned int>> expected;
	for (const char *channel : kChannels)
		expected.emplace_back(channel, 0644U);
	for (const char *control :
	     {"trace_on", "kmemind_interval", "kioind_interval", "sched_interval", "svp_interval",
	      "load_interval", "cgroup_interval", "display_interval", "kgsl_interval", "rb_size",
	      "trigger"})
		expected.emplace_back(control, 0664U);
	EXPECT_EQ(expected.size(), 32U);
	EXPECT_EQ(kernel.sysfs.list("zem"), expected);
}

TEST_F(ControlFiles, trigger_cannot_be_read)
{
	EXPECT_EQ(kernel.sysfs.read("zem/trigger").result, -EIO);
}

struct Interval {
	const char *file;
	const char *initial;
	bool takes_trailing_text;
};

class Intervals : public ZemTest, public ::testing::WithParamInterface<Interval> {
protected:
	/* @shown: the text after the write; null if the value must be refused. */
	void expect(std::string_view text, const char *shown)
	{
		SCOPED_TRACE("\"" + std::string(text) + "\"");
		store(GetParam().file, "7");
		EXPECT_EQ(store(GetParam().file, text),
			  shown ? static_cast<ssize_t>(text.size()) : -EINVAL);
		EXPECT_EQ(show(GetParam().file), shown ? shown : "7\n");
	}
};

TEST_P(Intervals, begin_with_their_initial_value)
{
	EXPECT_EQ(show(GetParam().file), GetParam().initial);
}

TEST_P(Intervals, take_0_to_10000)
{
	expect("0", "0\n");
	expect("1", "1\n");
	expect("10000", "10000\n");
	expect("5\n", "5\n");
	expect("007", "7\n");
	expect("10001", nullptr);
	expect("-1", nullptr);
	expect("-10000", nullptr);
	expect("2147483647", nullptr);
	expect("-2147483648", nullptr);
	expect("abc", nullptr);
	expect("\n", nullptr);
	expect(" ", nullptr);
	expect("x5", nullptr);
	expect("--5", nullptr);
	expect(std::string_view("\0", 1), nullptr);
}

TEST_P(Intervals, differ_in_what_they_take_around_the_number)
{
	const bool loose = GetParam().takes_trailing_text;
	expect("5x", loose ? "5\n" : nullptr);
	expect(" 5", loose ? "5\n" : nullptr);
	expect("\t\n5", loose ? "5\n" : nullptr);
	expect("5 ", loose ? "5\n" : nullptr);
	expect("5\n\n", loose ? "5\n" : nullptr);
	expect("5 6", loose ? "5\n" : nullptr);
	expect("0x10", loose ? "0\n" : nullptr);
	expect("+5", loose ? nullptr : "5\n");
	expect("+ 5", nullptr);
	expect("- 5", nullptr);
	/* One parser truncates to 32 bits, the other reports a range error. */
	expect("4294967296", loose ? "0\n" : nullptr);
	expect("4294967301", loose ? "5\n" : nullptr);
	expect("-4294967291", loose ? "5\n" : nullptr);
	expect("18446744073709551621", loose ? "5\n" : nullptr);
}

TEST_P(Intervals, are_not_changed_by_a_write_of_nothing)
{
	EXPECT_EQ(store(GetParam().file, ""), 0);
	EXPECT_EQ(show(GetParam().file), GetParam().initial);
}

TEST_P(Intervals, are_independent)
{
	store(GetParam().file, "1234");
	for (const auto &[name, mode] : kernel.sysfs.list("zem")) {
		if (name.ends_with("_interval")) {
			EXPECT_EQ(show(name) == "1234\n", name == GetParam().file) << name;
		}
	}
}

INSTANTIATE_TEST_SUITE_P(ControlFiles, Intervals,
			 ::testing::Values(Interval{"kmemind_interval", "1\n", true},
					   Interval{"kioind_interval", "1\n", true},
					   Interval{"sched_interval", "1\n", true},
					   Interval{"svp_interval", "1\n", false},
					   Interval{"load_interval", "1\n", false},
					   Interval{"cgroup_interval", "0\n", false},
					   Interval{"display_interval", "10\n", true},
					   Interval{"kgsl_interval", "1\n", true}),
			 [](const auto &info) { return std::string(info.param.file); });

TEST_F(ControlFiles, get_display_interval_tells_the_display_interval)
{
	auto *get = module.symbol<int()>("get_display_interval");
	EXPECT_EQ(get(), 10);
	store("display_interval", "25");
	EXPECT_EQ(get(), 25);
}

class RingSize : public ZemTest {
protected:
	[[nodiscard]] LogLines sizes(const char *size, std::vector<int> cpus)
	{
		LogLines lines;
		for (const int cpu : cpus)
			lines.push_back(sim::info("cpu " + std::to_string(cpu) +
						  " rb_size = " + size + "\n"));
		return lines;
	}
};

TEST_F(RingSize, show_logs_every_online_cpu_and_tells_the_last)
{
	kernel.cpus.set_online(2, false);
	kernel.cpus.set_online(7, false);
	EXPECT_EQ(show("rb_size"), "12240\n");
	EXPECT_EQ(log(), sizes("12240", {0, 1, 3, 4, 5, 6}));
}

TEST_F(RingSize, write_of_4096_resizes_every_cpu)
{
	EXPECT_EQ(store("rb_size", "4096"), 4);
	EXPECT_EQ(show("rb_size"), "8160\n");
	EXPECT_EQ(log(), sizes("8160", {0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(RingSize, write_of_1048576_is_the_most)
{
	EXPECT_EQ(store("rb_size", "1048576\n"), 8);
	EXPECT_EQ(show("rb_size"), "1052640\n");
	EXPECT_EQ(log(), sizes("1052640", {0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(RingSize, other_values_are_refused)
{
	for (const char *text : {"4095", "1048577", "-1", "-4096", "0", "abc", " ", "+4096",
				 "2147483647", "-2147483648"})
		EXPECT_EQ(store("rb_size", text), -EINVAL) << text;
	EXPECT_EQ(show("rb_size"), "12240\n");
	EXPECT_EQ(log(), sizes("12240", {0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(RingSize, text_after_the_number_is_ignored)
{
	EXPECT_EQ(store("rb_size", "8192 bytes"), 10);
}

TEST_F(RingSize, failing_resize_is_told_by_the_log_alone)
{
	kernel.faults.fail("ring_buffer_resize");
	EXPECT_EQ(store("rb_size", "65536"), 5);
	EXPECT_EQ(log(), LogLines({sim::err("ringbuffer resize fail\n")}));
	EXPECT_EQ(show("rb_size"), "12240\n");
	EXPECT_EQ(log(), sizes("12240", {0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(RingSize, larger_ring_keeps_more)
{
	store("rb_size", "65536");
	for (int i = 0; i < 40; i++)
		push(std::string(1000, 'x'));
	EXPECT_EQ(kernel.ring_buffers.statistics().overruns, 0U);
}

class RingSizeWithoutRing : public UnloadedTest {};

TEST_F(RingSizeWithoutRing, is_0_and_cannot_be_changed_but_is_no_failure)
{
	/* The files exist shortly before the ring buffer does. */
	kernel.faults.at("ring_buffer_alloc", [this] {
		EXPECT_EQ(show("rb_size"), "0\n");
		EXPECT_EQ(store("rb_size", "8192"), 4);
		EXPECT_EQ(store("rb_size", "1"), -EINVAL);
	});
	load();
	/* For the kernel, resizing no buffer succeeds. */
	EXPECT_EQ(log(), LogLines{});
}

class Triggers : public ZemTest {
protected:
	[[nodiscard]] unsigned int train_number()
	{
		hand_back();
		push("what is the number");
		kernel.run_until_idle();
		return records().at(0).header.train_number;
	}
};

TEST_F(Triggers, text_that_is_no_number_is_refused_and_changes_nothing)
{
	for (const char *text : {"abc", "", "\n", "+5", "-", "x7"})
		EXPECT_LE(store("trigger", text), 0) << text;
	EXPECT_EQ(store("trigger", "abc"), -EINVAL);
	EXPECT_EQ(train_number(), 1U);
}

TEST_F(Triggers, any_number_is_the_new_train_number)
{
	EXPECT_EQ(store("trigger", "42\n"), 3);
	EXPECT_EQ(train_number(), 42U);
	EXPECT_EQ(store("trigger", "0"), 1);
	EXPECT_EQ(train_number(), 0U);
	EXPECT_EQ(store("trigger", "-1"), 2);
	EXPECT_EQ(train_number(), 0xffff'ffffU);
	EXPECT_EQ(store("trigger", " -7 and more"), 12);
	EXPECT_EQ(train_number(), static_cast<unsigned int>(-7));
}

TEST_F(Triggers, number_counts_even_while_trace_on_is_0)
{
	store("trace_on", "0");
	EXPECT_EQ(store("trigger", "42"), 2);
	store("trace_on", "1");
	EXPECT_EQ(train_number(), 42U);
	EXPECT_EQ(log(),
		  LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n")}));
}

} /* namespace test */
