/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Virtual time: ticks since the start, the jiffies that the module sees, and wall-clock time. The
 * scheduler advances it in cooperative mode; only the test does when threads run freely.
 */
#pragma once

#include <atomic>

#include "options.h"
#include "scheduler.h"

namespace sim {

class Clock {
public:
	explicit Clock(const Options &options);

	[[nodiscard]] Ticks ticks() const { return ticks_.load(std::memory_order_relaxed); }

	void advance_to(Ticks ticks);

	[[nodiscard]] int64_t realtime_ns() const;
	/* The time of ktime_get(). */
	[[nodiscard]] int64_t monotonic_ns() const;
	/* Adds to the time that the ticks give. Wall-clock time is not changed. */
	void step_monotonic_ns(int64_t difference);

	/* Sets wall-clock time from now on. Monotonic time is not changed. */
	void set_realtime_ns(int64_t realtime);
	void step_realtime_ns(int64_t difference);

	/* Jiffies by which msleep() wakes up late. The kernel's rounding is 1. */
	void set_sleep_overrun(Ticks overrun)
	{
		sleep_overrun_.store(overrun, std::memory_order_relaxed);
	}

	[[nodiscard]] Ticks sleep_overrun() const
	{
		return sleep_overrun_.load(std::memory_order_relaxed);
	}

	/* Notes the time to which the test last advanced: a wait far beyond it never ends. */
	void mark_test() { test_ticks_ = ticks(); }
	[[nodiscard]] Ticks test_ticks() const { return test_ticks_; }

private:
	const unsigned long initial_jiffies_;
	std::atomic<Ticks> ticks_{0};
	std::atomic<int64_t> realtime_offset_;
	std::atomic<int64_t> monotonic_offset_;
	std::atomic<Ticks> sleep_overrun_{1};
	Ticks test_ticks_ = 0;
};

} /* namespace sim */
