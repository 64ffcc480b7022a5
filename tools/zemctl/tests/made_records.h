/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Builds records for tests byte by byte.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "records/record.h"

namespace zemctl {

using ByteVector = std::vector<std::byte>;

inline zem_record_header made_header(std::uint8_t channel, std::size_t len,
				     std::uint64_t timestamp = 1)
{
	zem_record_header header = {};
	header.timestamp = timestamp;
	header.train_number = 1;
	header.channel = channel;
	header.len = static_cast<std::uint32_t>(len);
	return header;
}

inline ByteVector made_record(const zem_record_header &header, std::string_view payload)
{
	ByteVector bytes(sizeof(header) + payload.size());
	std::memcpy(bytes.data(), &header, sizeof(header));
	std::memcpy(bytes.data() + sizeof(header), payload.data(), payload.size());
	return bytes;
}

inline ByteVector made_record(std::uint8_t channel, std::string_view payload,
			      std::uint64_t timestamp = 1)
{
	return made_record(made_header(channel, payload.size(), timestamp), payload);
}

inline ByteVector operator+(ByteVector left, const ByteVector &right)
{
	left.insert(left.end(), right.begin(), right.end());
	return left;
}

inline Record as_record(const ByteVector &bytes)
{
	zem_record_header header;
	std::memcpy(&header, bytes.data(), sizeof(header));
	return {header, bytes};
}

inline std::string payload_text(const Record &record)
{
	const Bytes payload = record.payload();
	return std::string(reinterpret_cast<const char *>(payload.data()), payload.size());
}

/* Three records of different channels and sizes. */
struct ThreeRecords {
	const ByteVector a = made_record(ZEM_CHANNEL_TEST, "a", 100);
	const ByteVector b = made_record(ZEM_CHANNEL_WIFI, "bb", 200);
	const ByteVector c = made_record(ZEM_CHANNEL_GPU, "ccc", 300);
};

} // namespace zemctl
