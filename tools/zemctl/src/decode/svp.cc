// SPDX-License-Identifier: GPL-2.0
/*
 * svp: the counters of one SVP task since its previous record.
 */
#include "decode/svp.h"

#include <iterator>
#include <span>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/decoder.h"
#include "decode/histogram.h"
#include "text/text.h"

namespace zemctl {

namespace svp {

/* Microseconds. */
static constexpr std::array<std::uint32_t, 3> kRunDelayBounds = {2000, 10000, 20000};
static constexpr std::array<std::uint32_t, 3> kRuntimeBounds = {5000, 15000, 30000};
static constexpr std::array<std::uint32_t, 3> kDStateBounds = {3000, 10000, 30000};
static constexpr std::array<std::uint32_t, 6> kMemoryBounds = {1000,  8000,  16000,
							       33000, 67000, 134000};
static constexpr std::array<std::uint32_t, 6> kIowaitBounds = {1000,  3000,  10000,
							       20000, 50000, 100000};

static std::string line(Bytes payload)
{
	const auto task = copy_payload<zem_svp>(payload);
	const std::string package = svp_package_name(task);
	return fmt::format("{}{} {}/{}: ran {}, waited {}, slept in D state {}",
			   svp_thread_name(task), package.empty() ? "" : " of " + package,
			   task.tgid, task.pid, format_milliseconds(task.stats.runtime_total),
			   format_milliseconds(task.stats.run_delay_total),
			   format_milliseconds(task.stats.d_state_duration_total));
}

static std::string sched_lines(const zem_svp_stats &stats)
{
	const auto row = [](std::string_view title, std::uint64_t total, Bounds bounds,
			    std::span<const std::uint32_t> counts) {
		return fmt::format("{:<16} {:>14}  {}\n", title, format_milliseconds(total),
				   format_counts(bounds, counts, BoundUnit::kMilliseconds));
	};
	return row("ran", stats.runtime_total, kRuntimeBounds, stats.runtime) +
	       row("waited", stats.run_delay_total, kRunDelayBounds, stats.run_delay) +
	       row("slept in D state", stats.d_state_duration_total, kDStateBounds,
		   stats.d_state_duration) +
	       row("waited for IO", stats.iowait_total, kIowaitBounds, stats.iowait_duration);
}

static std::string io_lines(const zem_svp_stats &stats)
{
	return fmt::format("IO waits         {}, long ones of UI tasks {}, while starting {} "
			   "in {}\n",
			   stats.iowait_total_cnt, stats.ui_iowait_long_cnt,
			   stats.iowait_coldstart_cnt,
			   format_milliseconds(stats.iowait_coldstart)) +
	       fmt::format("system calls     read {} bytes in {}, wrote {} bytes in {}\n",
			   stats.read_bytes, stats.read_syscall_cnt, stats.write_bytes,
			   stats.write_syscall_cnt) +
	       fmt::format("devices          read {} bytes in {} and {}, wrote {} bytes in {} "
			   "and {}\n",
			   stats.bio_read_size, stats.bio_read_cnt,
			   format_milliseconds(stats.bio_read_time), stats.bio_write_size,
			   stats.bio_write_cnt, format_milliseconds(stats.bio_write_time));
}

static std::string memory_lines(const zem_svp_stats &stats)
{
	std::string result;
	for (const SvpMemoryRow &row : kSvpMemoryRows)
		fmt::format_to(std::back_inserter(result), "{:<16} {}\n", row.name,
			       format_counts(kMemoryBounds, stats.*row.counts,
					     BoundUnit::kMilliseconds));
	result += "failed by order ";
	for (const std::uint32_t count : stats.alloc_fail_order)
		fmt::format_to(std::back_inserter(result), " {}", count);
	return result + '\n';
}

static std::string full(Bytes payload)
{
	const auto task = copy_payload<zem_svp>(payload);
	return sched_lines(task.stats) + io_lines(task.stats) + memory_lines(task.stats);
}

static nlohmann::ordered_json stats_json(const zem_svp_stats &stats)
{
	nlohmann::ordered_json object = {
		{"run_delay", stats.run_delay},
		{"run_delay_total_ns", stats.run_delay_total},
		{"runtime", stats.runtime},
		{"runtime_total_ns", stats.runtime_total},
		{"d_state_duration", stats.d_state_duration},
		{"d_state_duration_total_ns", stats.d_state_duration_total},
	};
	for (const SvpMemoryRow &row : kSvpMemoryRows)
		object[std::string(row.name)] = stats.*row.counts;
	object.update({
		{"alloc_fail_order", stats.alloc_fail_order},
		{"iowait_total_ns", stats.iowait_total},
		{"iowait_total_cnt", stats.iowait_total_cnt},
		{"iowait_coldstart_ns", stats.iowait_coldstart},
		{"iowait_coldstart_cnt", stats.iowait_coldstart_cnt},
		{"iowait_duration", stats.iowait_duration},
		{"ui_iowait_long_cnt", stats.ui_iowait_long_cnt},
		{"read_bytes", stats.read_bytes},
		{"read_syscall_cnt", stats.read_syscall_cnt},
		{"write_bytes", stats.write_bytes},
		{"write_syscall_cnt", stats.write_syscall_cnt},
		{"bio_read_size_bytes", stats.bio_read_size},
		{"bio_read_time_ns", stats.bio_read_time},
		{"bio_read_cnt", stats.bio_read_cnt},
		{"bio_write_size_bytes", stats.bio_write_size},
		{"bio_write_time_ns", stats.bio_write_time},
		{"bio_write_cnt", stats.bio_write_cnt},
	});
	return object;
}

template <std::size_t size>
static nlohmann::ordered_json in_milliseconds(std::array<std::uint32_t, size> bounds)
{
	for (std::uint32_t &bound : bounds)
		bound /= 1000;
	return bounds;
}

static nlohmann::ordered_json bounds_json()
{
	nlohmann::ordered_json object = {
		{"run_delay", in_milliseconds(kRunDelayBounds)},
		{"runtime", in_milliseconds(kRuntimeBounds)},
		{"d_state_duration", in_milliseconds(kDStateBounds)},
	};
	for (const SvpMemoryRow &row : kSvpMemoryRows)
		object[std::string(row.name)] = in_milliseconds(kMemoryBounds);
	object["iowait_duration"] = in_milliseconds(kIowaitBounds);
	return object;
}

static nlohmann::ordered_json json(Bytes payload)
{
	return svp_json(copy_payload<zem_svp>(payload));
}

} // namespace svp

std::string svp_thread_name(const zem_svp &task)
{
	return escaped(field_text(task.thread_name));
}

std::string svp_package_name(const zem_svp &task)
{
	return escaped(field_text(task.package_name));
}

nlohmann::ordered_json svp_json(const zem_svp &task)
{
	return {
		{"tgid", task.tgid},
		{"pid", task.pid},
		{"thread_name", field_text(task.thread_name)},
		{"package_name", field_text(task.package_name)},
		{"stats", svp::stats_json(task.stats)},
		{"bounds_ms", svp::bounds_json()},
	};
}

const Decoder kSvpDecoder = {sizeof(zem_svp), svp::line, svp::full, svp::json};

} // namespace zemctl
