// SPDX-License-Identifier: GPL-2.0
/*
 * svp: the counters of one SVP task since its previous record.
 */
#include "decode/svp.h"

#include <iterator>
#include <span>

#include <fmt/format.h>

#include "decode/decoder.h"
#include "decode/histogram.h"
#include "decode/task.h"

namespace zemctl {

namespace svp {

static void line(Bytes payload, TextBuffer &out)
{
	const auto task = copy_payload<zem_svp>(payload);
	append_task(out, field_text(task.thread_name), field_text(task.package_name), task.tgid,
		    task.pid);
	out.put("ran ");
	append_milliseconds(out, task.stats.runtime_total);
	out.put(", waited ");
	append_milliseconds(out, task.stats.run_delay_total);
	out.put(", slept in D state ");
	append_milliseconds(out, task.stats.d_state_duration_total);
}

static std::string sched_lines(const zem_svp_stats &stats)
{
	const auto row = [](std::string_view title, std::uint64_t total, Bounds bounds,
			    std::span<const std::uint32_t> counts) {
		return fmt::format("{:<16} {:>14}  {}\n", title, format_milliseconds(total),
				   format_counts(bounds, counts, BoundUnit::kMilliseconds));
	};
	return row("ran", stats.runtime_total, kSvpRuntimeBounds, stats.runtime) +
	       row("waited", stats.run_delay_total, kSvpRunDelayBounds, stats.run_delay) +
	       row("slept in D state", stats.d_state_duration_total, kSvpDStateBounds,
		   stats.d_state_duration) +
	       row("waited for IO", stats.iowait_total, kSvpIowaitBounds, stats.iowait_duration);
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
			       format_counts(kSvpMemoryBounds, stats.*row.counts,
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

static void stats_json(const zem_svp_stats &stats, JsonWriter &json)
{
	json.begin_object("stats");
	json.counts("run_delay", stats.run_delay);
	json.count("run_delay_total_ns", stats.run_delay_total);
	json.counts("runtime", stats.runtime);
	json.count("runtime_total_ns", stats.runtime_total);
	json.counts("d_state_duration", stats.d_state_duration);
	json.count("d_state_duration_total_ns", stats.d_state_duration_total);
	for (const SvpMemoryRow &row : kSvpMemoryRows) {
		json.key(row.name);
		json.counts(stats.*row.counts);
	}
	json.counts("alloc_fail_order", stats.alloc_fail_order);
	json.count("iowait_total_ns", stats.iowait_total);
	json.count("iowait_total_cnt", stats.iowait_total_cnt);
	json.count("iowait_coldstart_ns", stats.iowait_coldstart);
	json.count("iowait_coldstart_cnt", stats.iowait_coldstart_cnt);
	json.counts("iowait_duration", stats.iowait_duration);
	json.count("ui_iowait_long_cnt", stats.ui_iowait_long_cnt);
	json.count("read_bytes", stats.read_bytes);
	json.count("read_syscall_cnt", stats.read_syscall_cnt);
	json.count("write_bytes", stats.write_bytes);
	json.count("write_syscall_cnt", stats.write_syscall_cnt);
	json.count("bio_read_size_bytes", stats.bio_read_size);
	json.count("bio_read_time_ns", stats.bio_read_time);
	json.count("bio_read_cnt", stats.bio_read_cnt);
	json.count("bio_write_size_bytes", stats.bio_write_size);
	json.count("bio_write_time_ns", stats.bio_write_time);
	json.count("bio_write_cnt", stats.bio_write_cnt);
	json.end_object();
}

static void json(Bytes payload, JsonWriter &json)
{
	svp_json(copy_payload<zem_svp>(payload), json);
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

void svp_json(const zem_svp &task, JsonWriter &json)
{
	json.number("tgid", task.tgid);
	json.number("pid", task.pid);
	json.name("comm", field_text(task.thread_name));
	json.name("package", field_text(task.package_name));
	svp::stats_json(task.stats, json);
}

void svp_bounds_json(JsonWriter &json)
{
	json.begin_object("svp_bounds_us");
	json.counts("run_delay", kSvpRunDelayBounds);
	json.counts("runtime", kSvpRuntimeBounds);
	json.counts("d_state_duration", kSvpDStateBounds);
	for (const SvpMemoryRow &row : kSvpMemoryRows) {
		json.key(row.name);
		json.counts(kSvpMemoryBounds);
	}
	json.counts("iowait_duration", kSvpIowaitBounds);
	json.end_object();
}

const Decoder kSvpDecoder = {sizeof(zem_svp), svp::line, svp::full, svp::json};

} // namespace zemctl
