// SPDX-License-Identifier: GPL-2.0
/*
 * usb: a device was attached or removed, is a disk, or failed.
 */
#include "decode/decoder.h"

#include <fmt/format.h>

namespace zemctl {

namespace usb {

static void line(Bytes payload, TextBuffer &out)
{
	const auto report = copy_payload<zem_usb>(payload);
	const std::string message = escaped(field_text(report.message));
	out.put(fmt::format(
		"{}: {:04x}:{:04x} {} {}, {}",
		message.empty() ? fmt::format("event {}", report.event) : message, report.id_vendor,
		report.id_product, escaped(field_text(report.manufacturer)),
		escaped(field_text(report.product)), escaped(field_text(report.speed))));
}

static void json(Bytes payload, JsonWriter &json)
{
	const auto report = copy_payload<zem_usb>(payload);
	json.name("speed", field_text(report.speed));
	json.number("id_vendor", report.id_vendor);
	json.number("id_product", report.id_product);
	json.name("manufacturer", field_text(report.manufacturer));
	json.name("product", field_text(report.product));
	json.number("event", report.event);
	json.name("message", field_text(report.message));
}

} // namespace usb

const Decoder kUsbDecoder = {sizeof(zem_usb), usb::line, nullptr, usb::json};

} // namespace zemctl
