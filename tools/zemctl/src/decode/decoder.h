/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the payload of a channel means. One file per family of payloads, one row per channel in
 * the table; a channel without a row is shown as text or hex, and so is a payload of another
 * size than the row's.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "records/record.h"

namespace zemctl {

struct Decoder {
	/* Bytes of a payload; the functions are called with nothing else. */
	std::size_t size;
	/* A few words for the record's line. */
	std::string (*line)(Bytes payload);
	/* All of it in lines, for people; null where the line says all. */
	std::string (*full)(Bytes payload);
	/* An object for the record's "decoded". */
	nlohmann::ordered_json (*json)(Bytes payload);
};

/* The decoder of @channel, or null. */
const Decoder *find_decoder(std::uint8_t channel);

/* A payload may start at any byte, so it is never looked at in place. */
template <typename Payload>
Payload copy_payload(Bytes payload)
{
	Payload copy;
	std::memcpy(&copy, payload.data(), sizeof(copy));
	return copy;
}

extern const Decoder kCgroupDecoder;
extern const Decoder kCpuDecoder;
extern const Decoder kKioDecoder;
extern const Decoder kKmemDecoder;
extern const Decoder kKzerodDecoder;
extern const Decoder kLoadDecoder;
extern const Decoder kSchedDecoder;
extern const Decoder kSvpDecoder;
extern const Decoder kUsbDecoder;

} // namespace zemctl
