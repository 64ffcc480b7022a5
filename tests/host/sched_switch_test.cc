// SPDX-License-Identifier: GPL-2.0
/* The switch of the scheduler's histograms: accepted writes, refused writes, and the effect. */
#include <cerrno>
#include <cstring>

#include "host/sched_fixture.h"

namespace test {

class SchedSwitch : public SchedTest {
protected:
	const std::string file = "sched_metrics/sched_metrics_enabled";

	/* Checks the effect. */
	[[nodiscard]] bool counts()
	{
		const u64 before = counters(0).hist[0][0];
		raise(Metric::kIrqtime, nullptr, 1);
		return counters(0).hist[0][0] == before + 1;
	}
};

TEST_F(SchedSwitch, uses_only_the_first_byte_and_accepts_all)
{
	EXPECT_EQ(read_proc(file), "1\n");
	EXPECT_TRUE(counts());
	for (const char *off : {"0", "0\n", "0abc", "01"}) {
		EXPECT_EQ(write_proc(file, off), static_cast<ssize_t>(strlen(off)));
		EXPECT_EQ(read_proc(file), "0\n");
		EXPECT_FALSE(counts());
		for (const char *on : {"1\n", "1abc"}) {
			EXPECT_EQ(write_proc(file, on), static_cast<ssize_t>(strlen(on)));
			EXPECT_EQ(read_proc(file), "1\n");
			EXPECT_TRUE(counts());
		}
	}
}

TEST_F(SchedSwitch, refuses_anything_else_and_stays)
{
	for (const char *state : {"1", "0"}) {
		EXPECT_EQ(write_proc(file, state), 1);
		for (const char *text : {"", "x", "2", " 1", "\n", "-1", "on"})
			EXPECT_EQ(write_proc(file, text), -EFAULT) << text;
		EXPECT_EQ(kernel.proc.write_faulting(file, 1), -EFAULT);
		EXPECT_EQ(read_proc(file), std::string(state) + "\n");
	}
}

TEST_F(SchedSwitch, empty_write_is_refused_whatever_lies_behind_it)
{
	EXPECT_EQ(write_proc(file, "0"), 1);
	EXPECT_EQ(inside().write_sched_switch("1", 0), -EFAULT);
	EXPECT_FALSE(counts());
}

TEST_F(SchedSwitch, does_not_change_the_other_switch)
{
	EXPECT_EQ(write_proc(file, "0"), 1);
	EXPECT_EQ(read_proc("svp_metrics/svp_metrics_enabled"), "1\n");
}

TEST_F(SchedSwitch, can_be_turned_twice_and_back)
{
	for (const char *text : {"0", "0", "1", "1"})
		EXPECT_EQ(write_proc(file, text), 1);
	EXPECT_EQ(write_proc(file, "0"), 1);
	EXPECT_FALSE(counts());
}

} /* namespace test */
