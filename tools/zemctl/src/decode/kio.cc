// SPDX-License-Identifier: GPL-2.0
/*
 * kio: devices, latencies and the UIDs with the most IO.
 */
#include "decode/decoder.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/histogram.h"
#include "decode/io.h"
#include "text/text.h"

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

static nlohmann::ordered_json json(Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	nlohmann::ordered_json object = io_json(kio, kIoDevices, IoSource::kRecord);
	if (const Bytes tail = tail_of(kio); !tail.empty())
		object["tail"] = hex_string(tail);
	return object;
}

} // namespace kio

const Decoder kKioDecoder = {sizeof(zem_kio), kio::line, kio::full, kio::json};

} // namespace zemctl
