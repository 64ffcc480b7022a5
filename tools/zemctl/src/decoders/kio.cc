// SPDX-License-Identifier: GPL-2.0
/*
 * kio: devices, latencies and the UIDs with most IO.
 */
#include "decoder.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "../histogram.h"
#include "../io.h"
#include "../text.h"

namespace zemctl {

namespace kio {

static constexpr std::string_view kIndent = "  ";

static std::string line(Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	const zem_io_top &top = kio.io_top[0];
	std::string text = fmt::format("reads {} of {} pages, sync writes {} of {} pages, async "
				       "writes {} of {} pages",
				       kio.read_bios, kio.read_pages, kio.write_sync_bios,
				       kio.write_sync_pages, kio.write_async_bios,
				       kio.write_async_pages);
	if (!is_vacant(top))
		text += fmt::format("; most IO: uid {}, {} bytes", top.uid, top.delta_total);
	return text;
}

static std::string device_lines(const zem_io_device &device)
{
	std::string text = disk_lines(device.disk);
	for (const IoClass &io_class : kIoClasses) {
		const zem_io_latency &latency = device.*io_class.latency;
		text += fmt::format("{:<17} {}; last interval {}\n", io_class.title,
				    format_counts(kIoBounds, latency.buckets,
						  BoundUnit::kMilliseconds),
				    format_total_time(latency.total_time));
	}
	return text;
}

static std::string columns_text(const zem_io_columns &columns)
{
	return fmt::format("frb {}, fwb {}, brb {}, bwb {}, fbc {}, bbc {}, iowait {}, swc {}, "
			   "awc {}",
			   columns.frb, columns.fwb, columns.brb, columns.bwb, columns.fbc,
			   columns.bbc, format_milliseconds(columns.iowait), columns.swc,
			   columns.awc);
}

static std::string top_lines(const zem_kio &kio)
{
	std::string text = "most IO in the last interval\n";
	auto out = std::back_inserter(text);
	for (std::size_t i = 0; i < ZEM_IO_TOP; i++) {
		const zem_io_top &top = kio.io_top[i];
		if (is_vacant(top))
			continue;
		fmt::format_to(out, "  {:>2}. uid {}: {} bytes\n", i + 1, top.uid, top.delta_total);
		fmt::format_to(out, "      interval  {}\n", columns_text(top.delta));
		fmt::format_to(out, "      in all    {}, read calls {}\n", columns_text(top.value),
			       top.read_calls);
	}
	text += "most IO wait in the last interval\n";
	for (std::size_t i = 0; i < ZEM_IO_TOP; i++) {
		const zem_iowait_top &top = kio.iowait_top[i];
		if (!is_vacant(top))
			fmt::format_to(out, "  {:>2}. uid {}: {}, in all {}\n", i + 1, top.uid,
				       format_milliseconds(top.delta_iowait),
				       format_milliseconds(top.iowait));
	}
	return text;
}

/* None where nothing was collected. */
static Bytes tail_of(const zem_kio &kio)
{
	const Bytes tail = std::as_bytes(std::span(kio.tail));
	const bool empty =
		std::ranges::all_of(tail, [](std::byte byte) { return byte == std::byte{0}; });
	return empty ? Bytes() : tail;
}

static std::string full(Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	std::string text;
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		text += fmt::format("{}\n", kIoDevices[i]);
		text += indented(device_lines(kio.devices[i]), kIndent);
	}
	text += io_total_lines(kio) + top_lines(kio);
	if (const Bytes tail = tail_of(kio); !tail.empty())
		text += "tail\n" + hex_dump(tail, kIndent);
	return text;
}

static nlohmann::ordered_json columns_json(const zem_io_columns &columns)
{
	return {
		{"frb_bytes", columns.frb},    {"fwb_bytes", columns.fwb},
		{"brb_bytes", columns.brb},    {"bwb_bytes", columns.bwb},
		{"fbc", columns.fbc},	       {"bbc", columns.bbc},
		{"iowait_ns", columns.iowait}, {"swc_bytes", columns.swc},
		{"awc_bytes", columns.awc},
	};
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	nlohmann::ordered_json object = io_units_json();
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++)
		object["devices"].push_back(io_device_json(kIoDevices[i], kio.devices[i]));
	for (const zem_io_top &top : kio.io_top)
		object["io_top"].push_back({
			{"uid", top.uid},
			{"value", columns_json(top.value)},
			{"read_calls", top.read_calls},
			{"delta", columns_json(top.delta)},
			{"delta_total_bytes", top.delta_total},
		});
	for (const zem_iowait_top &top : kio.iowait_top)
		object["iowait_top"].push_back(iowait_top_json(top));
	object.update(io_totals_json(kio));
	if (const Bytes tail = tail_of(kio); !tail.empty())
		object["tail"] = hex_string(tail);
	return object;
}

} // namespace kio

const Decoder kKioDecoder = {sizeof(zem_kio), kio::line, kio::full, kio::json};

} // namespace zemctl
