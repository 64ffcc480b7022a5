/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The walk from record to record through bytes that nobody vouches for: the shared buffer, which
 * the kernel may be writing, or a capture file. It never reads past the end, always moves
 * forward, and says why it stopped.
 */
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "records/record.h"

namespace zemctl {

enum class WalkStop {
	kEnd, /* the bytes ended with a whole record */
	kZeros, /* a header of zeros: the unused rest of the buffer */
	kBadChannel, /* the header names no channel */
	kBadLength, /* the header's length is more than any record has */
	kCutOff, /* the record runs past the end of the bytes */
};

/* What is wrong with the record that starts @bytes, or nothing. Needs ZEM_HEADER_SIZE bytes. */
std::optional<WalkStop> header_fault(const zem_record_header &header);

zem_record_header read_header(Bytes bytes);

class Walk {
public:
	explicit Walk(Bytes bytes, std::size_t position = 0) : bytes_(bytes), position_(position) {}

	/* The next whole record; nothing at the end, and then stop() says which end that is. */
	std::optional<Record> next();

	/* Where the next record starts, or would start. */
	std::size_t position() const { return position_; }
	WalkStop stop() const { return stop_; }
	/* The reason in words, for a stop that is neither kEnd nor kZeros. */
	std::string complaint() const;

	bool ended_well() const { return stop_ == WalkStop::kEnd || stop_ == WalkStop::kZeros; }

private:
	std::optional<Record> end(WalkStop stop);

	Bytes bytes_;
	std::size_t position_;
	WalkStop stop_ = WalkStop::kEnd;
};

} // namespace zemctl
