/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the payload of a channel means. One file per family of payloads, one row per channel in
 * the table; a channel without a row is shown as text or hex.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "../record.h"

namespace zemctl {

struct Decoder {
	/* May this decoder read @payload? Its size decides, as a rule. */
	bool (*accepts)(Bytes payload);
	/* A few words for the record's line. */
	std::string (*line)(Bytes payload);
	/* An object for the record's "decoded". */
	nlohmann::ordered_json (*json)(Bytes payload);
};

/* The decoder of @channel that accepts @payload, or null. */
const Decoder *find_decoder(std::uint8_t channel, Bytes payload);

extern const Decoder kKmemDecoder;

} // namespace zemctl
