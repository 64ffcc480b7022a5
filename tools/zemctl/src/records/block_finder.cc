// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the blocks of a capture file.
 */
#include "records/block_finder.h"

#include <algorithm>
#include <cstring>

#include "records/crc32c.h"

namespace zemctl {

namespace {

BlockHeader block_header(Bytes bytes)
{
	BlockHeader header;
	std::memcpy(&header, bytes.data(), sizeof(header));
	return header;
}

bool is_intact(const BlockHeader &header)
{
	const Bytes bytes = std::as_bytes(std::span(&header, 1));
	return std::memcmp(header.magic, kBlockMagic, sizeof(kBlockMagic)) == 0 &&
	       crc32c(bytes.first(offsetof(BlockHeader, crc))) == header.crc;
}

/* Consumes the first byte, and all others that are not the start of a magic number. */
void move_to_magic(InputBuffer &input)
{
	const Bytes rest = input.pending().subspan(1);
	const void *found = ::memmem(rest.data(), rest.size(), kBlockMagic, sizeof(kBlockMagic));
	std::size_t step = rest.size() - std::min(rest.size(), sizeof(kBlockMagic) - 1);
	if (found != nullptr)
		step = static_cast<std::size_t>(static_cast<const std::byte *>(found) -
						rest.data());
	input.consume(1 + step);
}

} // namespace

bool BlockFinder::belongs_here(const BlockHeader &header) const
{
	return (!capture_id_ || header.capture_id == *capture_id_) &&
	       header.sequence >= sequence_ && header.records_before >= records_ &&
	       header.stored_size <= kBlockContentMax && header.content_size <= kBlockContentMax;
}

/* Returns nothing for stored bytes that are damaged, or compressed in an unknown way. */
std::optional<Bytes> BlockFinder::content_of(const BlockHeader &header, Bytes stored)
{
	if (crc32c(stored) != header.stored_crc)
		return std::nullopt;
	switch (static_cast<BlockCompression>(header.compression)) {
	case BlockCompression::kNone:
		if (header.content_size == header.stored_size)
			return stored;
		return std::nullopt;
	case BlockCompression::kZstd:
		if (!expander_)
			expander_.emplace();
		if (expander_->expand(stored, header.content_size, expanded_))
			return expanded_;
		return std::nullopt;
	}
	return std::nullopt;
}

std::optional<FoundBlock> BlockFinder::block_at_start(InputBuffer &input, const Interval &before)
{
	const BlockHeader header = block_header(input.pending());
	if (!is_intact(header) || !belongs_here(header))
		return std::nullopt;
	const std::size_t size = sizeof(header) + header.stored_size;
	if (!input.have(size))
		return std::nullopt;
	const auto content =
		content_of(header, input.pending().subspan(sizeof(header), header.stored_size));
	if (!content)
		return std::nullopt;

	input.consume(size);
	const bool is_next = before.bytes == 0 && header.sequence == sequence_;
	const FoundBlock found = {before, is_next, header.records_before - records_, *content};
	capture_id_ = header.capture_id;
	sequence_ = header.sequence + 1;
	records_ = header.records_before + header.records;
	return found;
}

/* @bytes end with the file, and no whole block is at their start. */
bool BlockFinder::is_start_of_block(Bytes bytes) const
{
	const std::size_t size = std::min(bytes.size(), sizeof(kBlockMagic));
	if (size == 0 || std::memcmp(bytes.data(), kBlockMagic, size) != 0)
		return false;
	if (bytes.size() < sizeof(BlockHeader))
		return true;
	const BlockHeader header = block_header(bytes);
	return is_intact(header) && belongs_here(header) &&
	       bytes.size() - sizeof(header) < header.stored_size;
}

/* The bytes of a damaged block are searched, too: if some of them are missing, they have others. */
std::optional<FoundBlock> BlockFinder::next(InputBuffer &input)
{
	Interval before = {input.position(), 0};
	cut_off_ = false;
	while (input.have(sizeof(BlockHeader))) {
		if (auto found = block_at_start(input, before))
			return found;
		if (before.bytes == 0)
			cut_off_ = is_start_of_block(input.pending());
		move_to_magic(input);
		before.bytes = input.position() - before.position;
	}
	if (before.bytes == 0)
		cut_off_ = is_start_of_block(input.pending());
	input.consume(input.pending().size());
	rest_ = {before.position, input.position() - before.position};
	return std::nullopt;
}

bool BlockFinder::is_pending(const InputBuffer &input)
{
	const Bytes bytes = input.pending();
	return bytes.size() >= sizeof(BlockHeader) &&
	       bytes.size() - sizeof(BlockHeader) >= block_header(bytes).stored_size;
}

} // namespace zemctl
