// SPDX-License-Identifier: GPL-2.0
/*
 * Reads capture files.
 */
#include "records/capture_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "base/errors.h"
#include "records/capture_format.h"
#include "records/crc32c.h"
#include "records/walk.h"

namespace zemctl {

namespace {

/* The members that every version starts with. */
struct HeaderStart {
	unsigned char magic[8];
	std::uint32_t version;
	std::uint32_t header_size;
};

static_assert(sizeof(HeaderStart) == offsetof(CaptureHeader, capture_id));

bool has_capture_magic(Bytes bytes)
{
	return bytes.size() >= sizeof(kCaptureMagic) &&
	       std::memcmp(bytes.data(), kCaptureMagic, sizeof(kCaptureMagic)) == 0;
}

/* Later versions have their CRC at the end of their header, too. */
bool has_intact_header(Bytes bytes, std::size_t size)
{
	const std::size_t end = size - sizeof(std::uint32_t);
	std::uint32_t crc;
	std::memcpy(&crc, bytes.data() + end, sizeof(crc));
	return crc == crc32c(bytes.first(end));
}

bool is_record(const zem_record_header &header, Bytes bytes)
{
	return header.len <= bytes.size() - ZEM_HEADER_SIZE &&
	       (header.channel == kMarkChannel || !header_fault(header));
}

bool is_zero(Bytes bytes)
{
	return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; });
}

} // namespace

CaptureReader::CaptureReader(int fd, std::string name) : input_(fd, std::move(name))
{
	if (read_file_header())
		return;
	/* The header is damaged, or the file is no capture. A capture has a block. */
	version_ = kCaptureVersion;
	const bool has_magic = has_capture_magic(input_.pending());
	const bool is_short = !input_.have(sizeof(CaptureHeader));
	if (enter_block())
		return;
	if (!has_magic)
		throw Failure(fmt::format("{}: not a zem capture", input_.name()));
	if (is_short)
		throw Failure(
			fmt::format("{}: the capture is cut off within its header", input_.name()));
	throw Failure(fmt::format("{}: the capture's header is damaged", input_.name()));
}

/* Consumes the header. Return: false, with nothing consumed, if it is not intact. */
bool CaptureReader::read_file_header()
{
	HeaderStart start;
	if (!input_.have(sizeof(start)) || !has_capture_magic(input_.pending()))
		return false;
	std::memcpy(&start, input_.pending().data(), sizeof(start));
	const std::size_t least = start.version == 1 ? sizeof(CaptureHeaderV1) :
						       sizeof(CaptureHeader);
	if (start.version == 0 || start.header_size < least ||
	    start.header_size > kCaptureHeaderMax || !input_.have(start.header_size))
		return false;
	if (start.version > 1 && !has_intact_header(input_.pending(), start.header_size))
		return false;
	if (start.version > kCaptureVersion)
		throw Failure(fmt::format("{}: capture version {} is newer than this zemctl, which "
					  "reads version {}",
					  input_.name(), start.version, kCaptureVersion));
	version_ = start.version;
	if (version_ == kCaptureVersion) {
		CaptureHeader header;
		std::memcpy(&header, input_.pending().data(), sizeof(header));
		finder_.expect(header.capture_id);
	}
	input_.consume(start.header_size);
	return true;
}

std::optional<CaptureItem> CaptureReader::next()
{
	for (;;) {
		if (skip_)
			return std::exchange(skip_, std::nullopt);
		if (!content_.empty()) {
			if (const auto item = next_in_block())
				return item;
			continue;
		}
		if (ended_)
			return std::nullopt;
		if (version_ != 1) {
			ended_ = !enter_block();
		} else if (const auto item = next_without_blocks()) {
			return item;
		}
	}
}

/* Return: false at the end of the file. A skip before the block, or before the end, is in skip_. */
bool CaptureReader::enter_block()
{
	if (finished_) {
		if (input_.have(1))
			skip_ = skip_rest_of_file();
		return false;
	}
	if (const auto block = finder_.next(input_)) {
		content_ = block->content;
		if (!block->is_next)
			skip_ = {block->before.position, block->before.bytes,
				 block->missing_records};
		return true;
	}
	const Interval &rest = finder_.rest();
	if (finder_.is_cut_off())
		left_over_ = rest.bytes;
	else if (rest.bytes > 0)
		skip_ = {rest.position, rest.bytes, std::nullopt};
	return false;
}

/* Returns nothing for a mark of an unknown kind. */
std::optional<CaptureItem> CaptureReader::next_in_block()
{
	if (content_.size() < ZEM_HEADER_SIZE)
		return skip_rest_of_block();
	const zem_record_header header = read_header(content_);
	if (!is_record(header, content_))
		return skip_rest_of_block();
	const Record record = {header, content_.first(ZEM_HEADER_SIZE + header.len)};
	content_ = content_.subspan(record.whole.size());
	return item_of(record);
}

/* Returns nothing for a mark of an unknown kind, and at the end of the file. */
std::optional<CaptureItem> CaptureReader::next_without_blocks()
{
	if (finished_ && input_.have(1))
		return skip_rest_of_file();
	if (!input_.have(ZEM_HEADER_SIZE)) {
		left_over_ = input_.pending().size();
		ended_ = true;
		return std::nullopt;
	}
	const zem_record_header header = read_header(input_.pending());
	const bool is_mark = header.channel == kMarkChannel;
	if (is_zero(input_.pending().first(ZEM_HEADER_SIZE)) ||
	    (is_mark ? header.len != kTotalsSizeV1 : header_fault(header).has_value()))
		return skip_rest_of_file();
	const std::size_t size = ZEM_HEADER_SIZE + header.len;
	if (!input_.have(size)) {
		left_over_ = input_.pending().size();
		ended_ = true;
		return std::nullopt;
	}
	const Record record = {header, input_.pending().first(size)};
	input_.consume(size);
	return item_of(record);
}

std::optional<CaptureItem> CaptureReader::item_of(const Record &record)
{
	if (record.header.channel != kMarkChannel)
		return record;
	const std::uint8_t kind = record.header.sub_type;
	if (kind == 0 || kind > kMarkKinds)
		return std::nullopt;
	const Mark mark = {static_cast<MarkKind>(kind), record.header.timestamp, record.payload()};
	finished_ = finished_ || mark.kind == MarkKind::kEnd;
	return mark;
}

/* The CRC is right, so the writer wrote bytes that this reader does not understand. */
Skip CaptureReader::skip_rest_of_block()
{
	const std::uint64_t size = content_.size();
	content_ = {};
	return {input_.position(), size, std::nullopt};
}

Skip CaptureReader::skip_rest_of_file()
{
	const std::uint64_t position = input_.position();
	while (input_.have(1))
		input_.consume(input_.pending().size());
	ended_ = true;
	return {position, input_.position() - position, std::nullopt};
}

bool CaptureReader::at_end_of_buffer() const
{
	if (skip_ || !content_.empty())
		return false;
	if (version_ != 1)
		return !BlockFinder::is_pending(input_);
	const Bytes rest = input_.pending();
	return rest.size() < ZEM_HEADER_SIZE ||
	       rest.size() - ZEM_HEADER_SIZE < read_header(rest).len;
}

} // namespace zemctl
