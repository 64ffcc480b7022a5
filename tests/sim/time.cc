// SPDX-License-Identifier: GPL-2.0
/* Jiffies, sleeping, monotonic and wall-clock time on the virtual clock. */
#include "kernel/api/time.h"

#include "kernel.h"

unsigned long volatile jiffies;

namespace sim {

Clock::Clock(const Options &options)
	: initial_jiffies_(options.initial_jiffies), realtime_offset_(options.realtime_ns),
	  monotonic_offset_(options.monotonic_ns)
{
	jiffies = initial_jiffies_;
}

void Clock::advance_to(Ticks ticks)
{
	if (ticks <= this->ticks())
		return;
	ticks_.store(ticks, std::memory_order_relaxed);
	jiffies = initial_jiffies_ + ticks;
}

int64_t Clock::realtime_ns() const
{
	return realtime_offset_.load(std::memory_order_relaxed) +
	       static_cast<int64_t>(ticks() * kNanosecondsPerJiffy);
}

int64_t Clock::monotonic_ns() const
{
	return monotonic_offset_.load(std::memory_order_relaxed) +
	       static_cast<int64_t>(ticks() * kNanosecondsPerJiffy);
}

void Clock::step_monotonic_ns(int64_t difference)
{
	monotonic_offset_.fetch_add(difference, std::memory_order_relaxed);
}

void Clock::set_realtime_ns(int64_t realtime)
{
	step_realtime_ns(realtime - realtime_ns());
}

void Clock::step_realtime_ns(int64_t difference)
{
	realtime_offset_.fetch_add(difference, std::memory_order_relaxed);
}

} /* namespace sim */

unsigned int helper_jiffies_to_msecs(unsigned long count)
{
	return static_cast<unsigned int>(count * (1000 / sim::kHz));
}

void msleep(unsigned int msecs)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.might_sleep("msleep");
	kernel.faults.strikes("msleep");

	constexpr unsigned int kMsecsPerJiffy = 1000 / sim::kHz;
	const sim::Ticks wait = (sim::Ticks{msecs} + kMsecsPerJiffy - 1) / kMsecsPerJiffy;
	const sim::Ticks end = kernel.clock.ticks() + wait + kernel.clock.sleep_overrun();
	sim::Gate never(kernel);
	never.wait("msleep(" + std::to_string(msecs) + ")", [] { return false; }, end);
}

s64 ktime_get(void)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.faults.strikes("ktime_get");
	return kernel.clock.monotonic_ns();
}

u64 helper_ktime_get_real_ns(void)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.faults.strikes("ktime_get_real_ns");
	return static_cast<u64>(kernel.clock.realtime_ns());
}
