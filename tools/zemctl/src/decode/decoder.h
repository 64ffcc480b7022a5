/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Decodes the payload of a channel. Each family of payloads has a file, each channel a row in the
 * table. Payloads of a channel without a row, and payloads of another size than in the row, are
 * shown as text or hex.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "records/record.h"
#include "text/json_writer.h"
#include "text/text.h"

namespace zemctl {

struct Decoder {
	/* The size of a payload. The functions are called only with payloads of this size. */
	std::size_t size;
	/* Appends a few words for the line of the record. */
	void (*line)(Bytes payload, TextBuffer &out);
	/* Returns the whole payload as lines of text. Null if line() has everything. */
	std::string (*full)(Bytes payload);
	/*
	 * Writes the members of "decoded" in the JSON of the record. Null: the JSON has the payload
	 * itself.
	 */
	void (*json)(Bytes payload, JsonWriter &json);
};

/* Returns the decoder of @channel, or null. */
const Decoder *find_decoder(std::uint8_t channel);

/*
 * Returns the remark on a payload of another size than the decoder's. Such a payload is legal: any
 * program may write to a channel.
 */
std::string unusual_size(const Decoder &decoder);

/* Copies a payload to aligned memory: a payload may start at any byte. */
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
