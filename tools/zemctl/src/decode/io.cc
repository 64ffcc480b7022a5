// SPDX-License-Identifier: GPL-2.0
/*
 * Formats the IO indicators as text and as JSON.
 */
#include "decode/io.h"

#include <cstring>
#include <iterator>
#include <optional>

#include <fmt/format.h>

#include "decode/histogram.h"

namespace zemctl {

namespace {

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

void columns_json(const zem_io_columns &columns, IoSource source, JsonWriter &json)
{
	json.begin_object();
	json.count("frb_bytes", columns.frb);
	json.count("fwb_bytes", columns.fwb);
	json.count("brb_bytes", columns.brb);
	json.count("bwb_bytes", columns.bwb);
	json.count("fbc", columns.fbc);
	json.count("bbc", columns.bbc);
	if (source == IoSource::kRecord)
		json.decimal("iowait_ns", columns.iowait);
	json.count("swc_bytes", columns.swc);
	json.count("awc_bytes", columns.awc);
	json.end_object();
}

void top_json(std::span<const zem_io_top> ranks, IoSource source, JsonWriter &json)
{
	json.begin_array("io_top");
	for (std::size_t i = 0; i < filled_ranks(ranks); i++) {
		const zem_io_top &top = ranks[i];
		json.begin_object();
		json.count("rank", i + 1);
		json.number("uid", top.uid);
		json.key("value");
		columns_json(top.value, source, json);
		if (source == IoSource::kRecord)
			json.count("read_calls", top.read_calls);
		json.key("delta");
		columns_json(top.delta, source, json);
		json.count("delta_total_bytes", top.delta_total);
		json.end_object();
	}
	json.end_array();
}

void iowait_top_json(std::span<const zem_iowait_top> ranks, JsonWriter &json)
{
	json.begin_array("iowait_top");
	for (std::size_t i = 0; i < filled_ranks(ranks); i++) {
		json.begin_object();
		json.count("rank", i + 1);
		json.number("uid", ranks[i].uid);
		json.decimal("iowait_ns", ranks[i].iowait);
		json.count("delta_iowait_ns", ranks[i].delta_iowait);
		json.end_object();
	}
	json.end_array();
}

void disk_json(const zem_io_disk &disk, JsonWriter &json)
{
	json.begin_object("disk");
	json.count("rd_ios", disk.rd_ios);
	json.count("rd_merges", disk.rd_merges);
	json.count("rd_sectors", disk.rd_sectors);
	json.count("rd_ticks_ms", disk.rd_ticks);
	json.count("wr_ios", disk.wr_ios);
	json.count("wr_merges", disk.wr_merges);
	json.count("wr_sectors", disk.wr_sectors);
	json.count("wr_ticks_ms", disk.wr_ticks);
	json.count("in_flight", disk.in_flight);
	json.count("io_ticks_ms", disk.io_ticks);
	json.count("time_in_queue_ms", disk.time_in_queue);
	json.end_object();
}

template <typename Rank>
std::size_t ranks_before_zeros(std::span<const Rank> ranks)
{
	std::size_t count = ranks.size();
	while (count > 0 && is_all_zero(ranks[count - 1]))
		count--;
	return count;
}

} // namespace

std::optional<std::uint64_t> total_time_us(std::uint64_t total)
{
	if (total > kJsonLargest / kTotalTimeUnit)
		return std::nullopt;
	return total * kTotalTimeUnit;
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
	for (std::size_t i = 0; i < filled_ranks(kio.io_top); i++) {
		const zem_io_top &top = kio.io_top[i];
		fmt::format_to(out, "  {:>2}. uid {}: {} bytes\n", i + 1, top.uid, top.delta_total);
		fmt::format_to(out, "      interval  {}\n", columns_text(top.delta, source));
		fmt::format_to(out, "      in all    {}", columns_text(top.value, source));
		if (source == IoSource::kRecord)
			fmt::format_to(out, ", read calls {}", top.read_calls);
		text += '\n';
	}
	text += "most IO wait in the last interval\n";
	for (std::size_t i = 0; i < filled_ranks(kio.iowait_top); i++) {
		const zem_iowait_top &top = kio.iowait_top[i];
		fmt::format_to(out, "  {:>2}. uid {}: {}, in all {}\n", i + 1, top.uid,
			       format_milliseconds(top.delta_iowait),
			       format_milliseconds(top.iowait));
	}
	return text;
}

std::size_t filled_ranks(std::span<const zem_io_top> ranks)
{
	return ranks_before_zeros(ranks);
}

std::size_t filled_ranks(std::span<const zem_iowait_top> ranks)
{
	return ranks_before_zeros(ranks);
}

void io_bounds_json(JsonWriter &json)
{
	json.counts("io_bounds_us", kIoBounds);
}

void io_device_json(const zem_io_device &device, JsonWriter &json)
{
	disk_json(device.disk, json);
	for (const IoClass &io_class : kIoClasses) {
		const zem_io_latency &latency = device.*io_class.latency;
		json.key(io_class.name);
		json.begin_object();
		json.counts("counts", latency.buckets);
		json.count("total_time_us", total_time_us(latency.total_time));
		json.end_object();
	}
}

void io_totals_json(const zem_kio &kio, IoSource source, JsonWriter &json)
{
	top_json(kio.io_top, source, json);
	iowait_top_json(kio.iowait_top, json);
	json.count("fg_bios", kio.fg_bios);
	json.count("bg_bios", kio.bg_bios);
	json.count("read_bios", kio.read_bios);
	json.count("write_sync_bios", kio.write_sync_bios);
	json.count("write_async_bios", kio.write_async_bios);
	json.count("read_pages", kio.read_pages);
	json.count("write_sync_pages", kio.write_sync_pages);
	json.count("write_async_pages", kio.write_async_pages);
	json.counts("read_sizes", kio.read_sizes);
}

} // namespace zemctl
