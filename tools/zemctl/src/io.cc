// SPDX-License-Identifier: GPL-2.0
/*
 * The IO indicators in words and in JSON.
 */
#include "io.h"

#include <cstring>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace zemctl {

namespace {

template <typename Wire>
bool is_all_zero(const Wire &wire)
{
	const Wire zero = {};
	return std::memcmp(&wire, &zero, sizeof(wire)) == 0;
}

nlohmann::ordered_json disk_json(const zem_io_disk &disk)
{
	return {
		{"rd_ios", disk.rd_ios},
		{"rd_merges", disk.rd_merges},
		{"rd_sectors", disk.rd_sectors},
		{"rd_ticks_ms", disk.rd_ticks},
		{"wr_ios", disk.wr_ios},
		{"wr_merges", disk.wr_merges},
		{"wr_sectors", disk.wr_sectors},
		{"wr_ticks_ms", disk.wr_ticks},
		{"in_flight", disk.in_flight},
		{"io_ticks_ms", disk.io_ticks},
		{"time_in_queue_ms", disk.time_in_queue},
	};
}

} // namespace

std::string format_total_time(std::uint64_t total_time)
{
	return fmt::format("{}.{} ms per 4 KiB", total_time / 10, total_time % 10);
}

std::string disk_lines(const zem_io_disk &disk)
{
	return fmt::format("read              {} in {} ms, {} merged, {} sectors\n", disk.rd_ios,
			   disk.rd_ticks, disk.rd_merges, disk.rd_sectors) +
	       fmt::format("wrote             {} in {} ms, {} merged, {} sectors\n", disk.wr_ios,
			   disk.wr_ticks, disk.wr_merges, disk.wr_sectors) +
	       fmt::format("busy              {} ms\n", disk.io_ticks);
}

std::string io_total_lines(const zem_kio &kio)
{
	return fmt::format("bios since load   reads {} of {} pages, sync writes {} of {} pages, "
			   "async writes {} of {} pages; foreground {}, background {}\n",
			   kio.read_bios, kio.read_pages, kio.write_sync_bios, kio.write_sync_pages,
			   kio.write_async_bios, kio.write_async_pages, kio.fg_bios, kio.bg_bios) +
	       fmt::format(
		       "last interval     reads of 1 page {}, of 2 {}, of 3 to 8 {}, of more {}\n",
		       kio.read_sizes[0], kio.read_sizes[1], kio.read_sizes[2], kio.read_sizes[3]);
}

bool is_vacant(const zem_io_top &top)
{
	return is_all_zero(top);
}

bool is_vacant(const zem_iowait_top &top)
{
	return is_all_zero(top);
}

nlohmann::ordered_json io_units_json()
{
	nlohmann::ordered_json bounds = nlohmann::ordered_json::array();
	for (const std::uint32_t bound : kIoBounds)
		bounds.push_back(bound / 1000);
	return {{"bounds_ms", std::move(bounds)}, {"total_time_unit_us", 100}};
}

nlohmann::ordered_json io_device_json(std::string_view path, const zem_io_device &device)
{
	nlohmann::ordered_json object = {{"path", path}, {"disk", disk_json(device.disk)}};
	for (const IoClass &io_class : kIoClasses) {
		const zem_io_latency &latency = device.*io_class.latency;
		object[std::string(io_class.name)] = {
			{"buckets", latency.buckets},
			{"total_time", latency.total_time},
		};
	}
	return object;
}

nlohmann::ordered_json iowait_top_json(const zem_iowait_top &top)
{
	return {
		{"uid", top.uid},
		{"iowait_ns", top.iowait},
		{"delta_iowait_ns", top.delta_iowait},
	};
}

nlohmann::ordered_json io_totals_json(const zem_kio &kio)
{
	return {
		{"fg_bios", kio.fg_bios},
		{"bg_bios", kio.bg_bios},
		{"read_bios", kio.read_bios},
		{"write_sync_bios", kio.write_sync_bios},
		{"write_async_bios", kio.write_async_bios},
		{"read_pages", kio.read_pages},
		{"write_sync_pages", kio.write_sync_pages},
		{"write_async_pages", kio.write_async_pages},
		{"read_sizes", kio.read_sizes},
	};
}

} // namespace zemctl
