/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What happened to one SVP task, whether it came as a record or as text from /proc.
 */
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <linux/zem.h>
#include <nlohmann/json_fwd.hpp>

namespace zemctl {

using LatencyCounts = __u32[ZEM_LATENCY_BUCKETS];

/* The latencies of memory management, which all have the same bounds. */
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

/* The names, safe to show: what is not printable is escaped. */
std::string svp_thread_name(const zem_svp &svp);
std::string svp_package_name(const zem_svp &svp);

/*
 * All fields that mean something, by their names in the wire format, with units appended; the
 * bounds of each array stand in "bounds_ms" under the array's name.
 */
nlohmann::ordered_json svp_json(const zem_svp &svp);

} // namespace zemctl
