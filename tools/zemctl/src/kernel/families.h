/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The families with an interval, and the unit of each interval.
 */
#pragma once

#include <array>
#include <string_view>

namespace zemctl {

/* The length of the collector's cycle. */
inline constexpr int kCycleSeconds = 5;
inline constexpr int kIntervalMax = 10000;

enum class IntervalUnit { kCycles, kSeconds, kNone };

struct Family {
	std::string_view name;
	std::string_view attribute;
	IntervalUnit unit;
};

inline constexpr std::array kFamilies = {
	Family{"kmem", "kmemind_interval", IntervalUnit::kCycles},
	Family{"kio", "kioind_interval", IntervalUnit::kCycles},
	Family{"sched", "sched_interval", IntervalUnit::kCycles},
	Family{"svp", "svp_interval", IntervalUnit::kCycles},
	Family{"load", "load_interval", IntervalUnit::kCycles},
	Family{"cgroup", "cgroup_interval", IntervalUnit::kCycles},
	Family{"display", "display_interval", IntervalUnit::kSeconds},
	Family{"kgsl", "kgsl_interval", IntervalUnit::kNone},
};

inline constexpr int kRingBufferMin = 4096;
inline constexpr int kRingBufferMax = 1048576;

} // namespace zemctl
