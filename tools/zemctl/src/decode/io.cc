// SPDX-License-Identifier: GPL-2.0
/*
 * Formats the IO indicators as text and as JSON.
 */
#include "decode/io.h"

#include <cstring>
#include <iterator>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/histogram.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kTotalTimeUnit = 100; /* us */
constexpr std::uint64_t kTotalTimesPerMillisecond = 1000 / kTotalTimeUnit;

template <typename Wire>
bool is_all_zero(const Wire &wire)
{
	const Wire zero = {};
	return std::memcmp(&wire, &zero, sizeof(wire)) == 0;
}

/* Each device has the sums of all devices: the first one is enough. */
std::string total_times(const zem_io_device &device)
{
	std::string text;
	for (const IoClass &io_class : kIoClasses) {
		const std::uint64_t total = (device.*io_class.latency).total_time;
		text += fmt::format("{}{} {}.{} ms", text.empty() ? "" : ", ", io_class.title,
				    total / kTotalTimesPerMillisecond,
				    total % kTotalTimesPerMillisecond);
	}
	return text;
}

std::string columns_text(const zem_io_columns &columns, IoSource source)
{
	const std::string iowait = source == IoSource::kRecord ?
					   ", iowait " + format_milliseconds(columns.iowait) :
					   "";
	return fmt::format("frb {}, fwb {}, brb {}, bwb {}, fbc {}, bbc {}{}, swc {}, awc {}",
			   columns.frb, columns.fwb, columns.brb, columns.bwb, columns.fbc,
			   columns.bbc, iowait, columns.swc, columns.awc);
}

nlohmann::ordered_json columns_json(const zem_io_columns &columns, IoSource source)
{
	nlohmann::ordered_json object = {
		{"frb_bytes", columns.frb}, {"fwb_bytes", columns.fwb}, {"brb_bytes", columns.brb},
		{"bwb_bytes", columns.bwb}, {"fbc", columns.fbc},	{"bbc", columns.bbc},
	};
	if (source == IoSource::kRecord)
		object["iowait_ns"] = columns.iowait;
	object["swc_bytes"] = columns.swc;
	object["awc_bytes"] = columns.awc;
	return object;
}

nlohmann::ordered_json top_json(const zem_io_top &top, IoSource source)
{
	nlohmann::ordered_json object = {
		{"uid", top.uid},
		{"value", columns_json(top.value, source)},
	};
	if (source == IoSource::kRecord)
		object["read_calls"] = top.read_calls;
	object["delta"] = columns_json(top.delta, source);
	object["delta_total_bytes"] = top.delta_total;
	return object;
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

nlohmann::ordered_json device_json(std::string_view path, const zem_io_device &device)
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

nlohmann::ordered_json totals_json(const zem_kio &kio)
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

} // namespace

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
	return fmt::format("bios since upload reads {} of {} pages, sync writes {} of {} pages, "
			   "async writes {} of {} pages; foreground {}, background {}\n",
			   kio.read_bios, kio.read_pages, kio.write_sync_bios, kio.write_sync_pages,
			   kio.write_async_bios, kio.write_async_pages, kio.fg_bios, kio.bg_bios) +
	       fmt::format("last interval     reads of 1 page {}, of 2 {}, of 3 to 8 {}, of more "
			   "{}\n",
			   kio.read_sizes[0], kio.read_sizes[1], kio.read_sizes[2],
			   kio.read_sizes[3]) +
	       fmt::format("                  times per 4 KiB: {}\n", total_times(kio.devices[0]));
}

std::string io_top_lines(const zem_kio &kio, IoSource source)
{
	std::string text = "most IO in the last interval\n";
	auto out = std::back_inserter(text);
	for (std::size_t i = 0; i < ZEM_IO_TOP; i++) {
		const zem_io_top &top = kio.io_top[i];
		if (is_vacant(top))
			continue;
		fmt::format_to(out, "  {:>2}. uid {}: {} bytes\n", i + 1, top.uid, top.delta_total);
		fmt::format_to(out, "      interval  {}\n", columns_text(top.delta, source));
		fmt::format_to(out, "      in all    {}", columns_text(top.value, source));
		if (source == IoSource::kRecord)
			fmt::format_to(out, ", read calls {}", top.read_calls);
		text += '\n';
	}
	text += "most IO wait in the last interval\n";
	for (std::size_t i = 0; i < ZEM_IO_TOP; i++) {
		const zem_iowait_top &top = kio.iowait_top[i];
		if (!is_all_zero(top))
			fmt::format_to(out, "  {:>2}. uid {}: {}, in all {}\n", i + 1, top.uid,
				       format_milliseconds(top.delta_iowait),
				       format_milliseconds(top.iowait));
	}
	return text;
}

bool is_vacant(const zem_io_top &top)
{
	return is_all_zero(top);
}

nlohmann::ordered_json io_json(const zem_kio &kio, std::span<const std::string_view> paths,
			       IoSource source)
{
	nlohmann::ordered_json object = {{"bounds_ms", nlohmann::ordered_json::array()},
					 {"total_time_unit_us", kTotalTimeUnit}};
	for (const std::uint32_t bound : kIoBounds)
		object["bounds_ms"].push_back(bound / 1000);
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++)
		object["devices"].push_back(device_json(paths[i], kio.devices[i]));
	for (const zem_io_top &top : kio.io_top)
		object["io_top"].push_back(top_json(top, source));
	for (const zem_iowait_top &top : kio.iowait_top)
		object["iowait_top"].push_back({{"uid", top.uid},
						{"iowait_ns", top.iowait},
						{"delta_iowait_ns", top.delta_iowait}});
	object.update(totals_json(kio));
	return object;
}

} // namespace zemctl
