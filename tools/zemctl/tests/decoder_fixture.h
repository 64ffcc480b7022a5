/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Puts payloads into records, and returns what the program shows of them.
 */
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

#include "decode/format.h"
#include "decode/json_stream.h"
#include "made_records.h"

namespace zemctl {

template <typename Payload>
std::string bytes_of(const Payload &payload)
{
	std::string bytes(sizeof(payload), '\0');
	std::memcpy(bytes.data(), &payload, sizeof(payload));
	return bytes;
}

/* A record that starts at an odd byte, as most do in the shared buffer. */
class Unaligned {
public:
	Unaligned(std::uint8_t channel, const std::string &payload)
		: bytes_(ByteVector(1) + made_record(channel, payload))
	{
	}

	Record record() const
	{
		Record record = {};
		std::memcpy(&record.header, bytes_.data() + 1, sizeof(record.header));
		record.whole = Bytes(bytes_).subspan(1);
		return record;
	}

private:
	ByteVector bytes_;
};

inline std::string payload_column(const Unaligned &bytes)
{
	const std::string line = format_line(bytes.record(), Colour::kOff);
	return line.substr(TextFormat(Colour::kOff).heading(0).find("PAYLOAD"));
}

inline nlohmann::json decoded(const Unaligned &bytes)
{
	return nlohmann::json::parse(format_json(bytes.record()))["decoded"];
}

} // namespace zemctl
