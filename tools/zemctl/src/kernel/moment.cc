// SPDX-License-Identifier: GPL-2.0
/*
 * Reads the clocks and the module's counters.
 */
#include "kernel/moment.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>

#include "kernel/kernel_loss.h"

namespace zemctl {

namespace {

constexpr int kTries = 5;

std::uint64_t nanoseconds_of(clockid_t clock)
{
	timespec time = {};
	::clock_gettime(clock, &time);
	return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
	       static_cast<std::uint64_t>(time.tv_nsec);
}

ClockReading read_once()
{
	ClockReading reading = {};
	const std::uint64_t begin = nanoseconds_of(CLOCK_MONOTONIC);
	reading.realtime = nanoseconds_of(CLOCK_REALTIME);
	reading.boottime = nanoseconds_of(CLOCK_BOOTTIME);
	const std::uint64_t took = nanoseconds_of(CLOCK_MONOTONIC) - begin;
	reading.monotonic = begin + took / 2;
	reading.uncertainty = static_cast<std::uint32_t>(
		std::min<std::uint64_t>(took, std::numeric_limits<std::uint32_t>::max()));
	return reading;
}

std::int32_t utc_offset_at(std::uint64_t realtime)
{
	const auto seconds = static_cast<std::time_t>(realtime / 1'000'000'000);
	std::tm local = {};
	return ::localtime_r(&seconds, &local) == nullptr ?
		       0 :
		       static_cast<std::int32_t>(local.tm_gmtoff);
}

} // namespace

/* The process may be preempted between two clocks, so the shortest of several readings counts. */
ClockReading read_clocks()
{
	ClockReading best = read_once();
	for (int i = 1; i < kTries; i++) {
		const ClockReading next = read_once();
		if (next.uncertainty < best.uncertainty)
			best = next;
	}
	best.utc_offset = utc_offset_at(best.realtime);
	return best;
}

ModuleCounters read_module_counters(const std::string &directory)
{
	const KernelCounters counters = KernelCounters::read(directory);
	ModuleCounters values = {};
	for (std::size_t i = 0; i < kModuleCounters.size(); i++) {
		const auto &value = counters[static_cast<KernelCounter>(i)];
		values.known |= static_cast<std::uint64_t>(value.has_value()) << i;
		values.values[i] = value.value_or(0);
	}
	return values;
}

} // namespace zemctl
