/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats the counters of one SVP task, which come from a record or from the text below /proc.
 */
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <linux/zem.h>

#include "text/json_writer.h"

namespace zemctl {

/* The bounds of the counts of durations, in microseconds. */
inline constexpr std::array<std::uint32_t, 3> kSvpRunDelayBounds = {2000, 10000, 20000};
inline constexpr std::array<std::uint32_t, 3> kSvpRuntimeBounds = {5000, 15000, 30000};
inline constexpr std::array<std::uint32_t, 3> kSvpDStateBounds = {3000, 10000, 30000};
inline constexpr std::array<std::uint32_t, 6> kSvpMemoryBounds = {1000,	 8000,	16000,
								  33000, 67000, 134000};
inline constexpr std::array<std::uint32_t, 6> kSvpIowaitBounds = {1000,	 3000,	10000,
								  20000, 50000, 100000};

using LatencyCounts = __u32[ZEM_LATENCY_BUCKETS];

/* The latencies of memory management. All of them have the same bounds. */
struct SvpMemoryRow {
	std::string_view name; /* as in struct zem_svp_stats */
	LatencyCounts zem_svp_stats::*counts;
};

inline constexpr std::array kSvpMemoryRows = {
	SvpMemoryRow{"async_reclaim", &zem_svp_stats::async_reclaim},
	SvpMemoryRow{"async_compact", &zem_svp_stats::async_compact},
	SvpMemoryRow{"direct_reclaim", &zem_svp_stats::direct_reclaim},
	SvpMemoryRow{"direct_compact", &zem_svp_stats::direct_compact},
	SvpMemoryRow{"PG_locked", &zem_svp_stats::PG_locked},
};

/* Return a name with the characters that are not printable escaped. */
std::string svp_thread_name(const zem_svp &svp);
std::string svp_package_name(const zem_svp &svp);

/* Writes a member for each field except the reserved ones. */
void svp_json(const zem_svp &svp, JsonWriter &json);

/* Writes the member "svp_bounds_us": the bounds of each array under the name of the array. */
void svp_bounds_json(JsonWriter &json);

} // namespace zemctl
