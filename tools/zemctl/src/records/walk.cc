// SPDX-License-Identifier: GPL-2.0
/*
 * Walks from record to record.
 */
#include "records/walk.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

namespace zemctl {

zem_record_header read_header(Bytes bytes)
{
	zem_record_header header;
	std::memcpy(&header, bytes.data(), sizeof(header));
	return header;
}

std::optional<WalkStop> header_fault(const zem_record_header &header)
{
	if (header.channel >= ZEM_CHANNEL_COUNT)
		return WalkStop::kBadChannel;
	if (header.len > ZEM_PAYLOAD_MAX)
		return WalkStop::kBadLength;
	return std::nullopt;
}

std::optional<Record> Walk::end(WalkStop stop)
{
	stop_ = stop;
	return std::nullopt;
}

std::optional<Record> Walk::next()
{
	const Bytes rest = bytes_.subspan(position_);
	if (rest.empty())
		return end(WalkStop::kEnd);

	const Bytes head = rest.first(std::min<std::size_t>(rest.size(), ZEM_HEADER_SIZE));
	if (std::ranges::all_of(head, [](std::byte byte) { return byte == std::byte{0}; }))
		return end(WalkStop::kZeros);
	if (head.size() < ZEM_HEADER_SIZE)
		return end(WalkStop::kCutOff);

	const zem_record_header header = read_header(head);
	if (const auto fault = header_fault(header))
		return end(*fault);
	const std::size_t size = ZEM_HEADER_SIZE + header.len;
	if (size > rest.size())
		return end(WalkStop::kCutOff);

	position_ += size;
	return Record{header, rest.first(size)};
}

std::string Walk::complaint() const
{
	const Bytes rest = bytes_.subspan(position_);
	switch (stop_) {
	case WalkStop::kBadChannel:
		return fmt::format("byte {}: channel {} does not exist", position_,
				   read_header(rest).channel);
	case WalkStop::kBadLength:
		return fmt::format("byte {}: a payload of {} bytes, {} at most", position_,
				   read_header(rest).len, ZEM_PAYLOAD_MAX);
	case WalkStop::kCutOff:
		return fmt::format("byte {}: the record runs past the end", position_);
	case WalkStop::kEnd:
	case WalkStop::kZeros:
		break;
	}
	return {};
}

} // namespace zemctl
