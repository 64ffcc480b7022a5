/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Finds the whole blocks of a capture file of version 2, and skips everything between them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "records/capture_format.h"
#include "records/compression.h"
#include "records/input_buffer.h"

namespace zemctl {

/* What precedes a block, or the end of the file, since the previous block. */
struct Interval {
	std::uint64_t position; /* where the previous block ended */
	std::uint64_t bytes;
};

struct FoundBlock {
	Interval before;
	bool is_next; /* nothing is missing before it */
	std::uint64_t missing_records;
	Bytes content; /* valid until the next search */
};

class BlockFinder {
public:
	/*
	 * Makes blocks of other captures no blocks of this one. Without it, the first block that is
	 * found determines the capture.
	 */
	void expect(std::uint64_t capture_id) { capture_id_ = capture_id; }

	/* Consumes the next whole block of @input, or all of it: then rest() is what it had. */
	std::optional<FoundBlock> next(InputBuffer &input);

	/* After the end of the file. */
	const Interval &rest() const { return rest_; }
	/* Returns whether the rest is the first part of a block. */
	bool is_cut_off() const { return cut_off_; }

	/* Returns whether the next block is pending as a whole. */
	static bool is_pending(const InputBuffer &input);

private:
	bool belongs_here(const BlockHeader &header) const;
	std::optional<Bytes> content_of(const BlockHeader &header, Bytes stored);
	std::optional<FoundBlock> block_at_start(InputBuffer &input, const Interval &before);
	bool is_start_of_block(Bytes bytes) const;

	std::optional<std::uint64_t> capture_id_;
	std::uint64_t sequence_ = 0; /* of the next block */
	std::uint64_t records_ = 0; /* before the next block */
	Interval rest_ = {};
	bool cut_off_ = false;
	std::optional<BlockExpander> expander_;
	std::vector<std::byte> expanded_;
};

} // namespace zemctl
