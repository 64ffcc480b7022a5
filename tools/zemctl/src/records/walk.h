/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Walks from record to record through untrusted bytes: the shared buffer, which the kernel may be
 * writing, or a capture file. The walk never reads past the end, always moves forward, and keeps
 * the reason why it stopped.
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
	kBadChannel, /* the channel of the header does not exist */
	kBadLength, /* the length of the header exceeds that of any record */
	kCutOff, /* the record runs past the end of the bytes */
};

/* Returns the fault of @header, if it has one. */
std::optional<WalkStop> header_fault(const zem_record_header &header);

/* Returns the header at the start of @bytes, which has at least ZEM_HEADER_SIZE bytes. */
zem_record_header read_header(Bytes bytes);

class Walk {
public:
	explicit Walk(Bytes bytes, std::size_t position = 0) : bytes_(bytes), position_(position) {}

	/* Returns the next whole record, or nothing at the end: stop() then returns the reason. */
	std::optional<Record> next();

	/* The offset of the next record. */
	std::size_t position() const { return position_; }
	WalkStop stop() const { return stop_; }
	/* The reason as a message, for a stop that is neither kEnd nor kZeros. */
	std::string complaint() const;

	bool ended_well() const { return stop_ == WalkStop::kEnd || stop_ == WalkStop::kZeros; }

private:
	std::optional<Record> end(WalkStop stop);

	Bytes bytes_;
	std::size_t position_;
	WalkStop stop_ = WalkStop::kEnd;
};

} // namespace zemctl
