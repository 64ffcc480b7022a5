// SPDX-License-Identifier: GPL-2.0
/*
 * usb: a device was attached or removed, is a disk, or failed.
 */
#include "decode/decoder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "text/text.h"

namespace zemctl {

namespace usb {

static std::string line(Bytes payload)
{
	const auto report = copy_payload<zem_usb>(payload);
	const std::string message = escaped(field_text(report.message));
	return fmt::format("{}: {:04x}:{:04x} {} {}, {}",
			   message.empty() ? fmt::format("event {}", report.event) : message,
			   report.id_vendor, report.id_product,
			   escaped(field_text(report.manufacturer)),
			   escaped(field_text(report.product)), escaped(field_text(report.speed)));
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto report = copy_payload<zem_usb>(payload);
	return {
		{"speed", field_text(report.speed)},
		{"id_vendor", report.id_vendor},
		{"id_product", report.id_product},
		{"manufacturer", field_text(report.manufacturer)},
		{"product", field_text(report.product)},
		{"event", report.event},
		{"message", field_text(report.message)},
	};
}

} // namespace usb

const Decoder kUsbDecoder = {sizeof(zem_usb), usb::line, nullptr, usb::json};

} // namespace zemctl
