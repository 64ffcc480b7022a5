// SPDX-License-Identifier: GPL-2.0
/*
 * kio: devices, latencies and the UIDs with the most IO.
 */
#include "decode/decoder.h"

#include <algorithm>

#include <fmt/format.h>

#include "decode/histogram.h"
#include "decode/io.h"
#include "text/text.h"

namespace zemctl {

namespace kio {

static constexpr std::string_view kIndent = "  ";

static void line(Bytes payload, TextBuffer &out)
{
	const auto kio = copy_payload<zem_kio>(payload);
	out.put("reads ").number(kio.read_bios).put(" of ").number(kio.read_pages);
	out.put(" pages, sync writes ").number(kio.write_sync_bios).put(" of ");
	out.number(kio.write_sync_pages).put(" pages, async writes ");
	out.number(kio.write_async_bios).put(" of ").number(kio.write_async_pages).put(" pages");
	if (filled_ranks(kio.io_top) == 0)
		return;
	out.put("; most IO: uid ").number(kio.io_top[0].uid).put(", ");
	out.number(kio.io_top[0].delta_total).put(" bytes");
}

static std::string device_lines(const zem_io_device &device)
{
	std::string text = disk_lines(device.disk);
	for (const IoClass &io_class : kIoClasses) {
		const auto &buckets = (device.*io_class.latency).buckets;
		text += fmt::format("{:<17} {}\n", io_class.title,
				    format_counts(kIoBounds, buckets, BoundUnit::kMilliseconds));
	}
	return text;
}

/* Returns the tail, or nothing if it is all zero. */
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
	text += io_total_lines(kio) + io_top_lines(kio, IoSource::kRecord);
	if (const Bytes tail = tail_of(kio); !tail.empty())
		text += "tail\n" + hex_dump(tail, kIndent);
	return text;
}

static void json(Bytes payload, JsonWriter &json)
{
	const auto kio = copy_payload<zem_kio>(payload);
	json.begin_array("devices");
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		json.begin_object();
		json.text("path", kIoDevices[i]);
		io_device_json(kio.devices[i], json);
		json.end_object();
	}
	json.end_array();
	io_totals_json(kio, IoSource::kRecord, json);
	json.hex("tail_hex", tail_of(kio));
}

} // namespace kio

const Decoder kKioDecoder = {sizeof(zem_kio), kio::line, kio::full, kio::json};

} // namespace zemctl
