/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads capture files of both versions: returns their records and marks in order, and reports the
 * stretches of a damaged file that it has to skip.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "records/block_finder.h"
#include "records/input_buffer.h"
#include "records/marks.h"
#include "records/record.h"

namespace zemctl {

/* A stretch of the file that is damaged or missing. */
struct Skip {
	std::uint64_t position; /* where it starts in the file */
	std::uint64_t bytes; /* its length, which is 0 if whole blocks were cut out */
	std::optional<std::uint64_t> records; /* the records that were in it, if known */
};

using CaptureItem = std::variant<Record, Mark, Skip>;

class CaptureReader {
public:
	/*
	 * Reads the header of the file. Does not own @fd. @name is used in messages. Throws a
	 * Failure if the file is not a capture, or of a newer version.
	 */
	CaptureReader(int fd, std::string name);

	/*
	 * Returns the next item, or nothing at the end of the file. A record or mark is valid until
	 * the next call. Marks of unknown kinds are left out.
	 */
	std::optional<CaptureItem> next();

	std::uint32_t version() const { return version_; }
	/* After the end: the bytes of a block or record that is cut off by the end of the file. */
	std::size_t left_over() const { return left_over_; }
	/* After the end: whether the end mark was read, so that nothing is missing there. */
	bool is_finished() const { return finished_; }
	/* Returns whether next() has to read from the file, which may block. */
	bool at_end_of_buffer() const;

private:
	bool read_file_header();
	bool enter_block();
	std::optional<CaptureItem> next_in_block();
	std::optional<CaptureItem> next_without_blocks();
	std::optional<CaptureItem> item_of(const Record &record);
	Skip skip_rest_of_block();
	Skip skip_rest_of_file();

	InputBuffer input_;
	std::uint32_t version_ = 0;
	BlockFinder finder_;
	Bytes content_; /* the rest of the current block */
	std::optional<Skip> skip_; /* to be returned before content_ */
	std::size_t left_over_ = 0;
	bool finished_ = false;
	bool ended_ = false;
};

} // namespace zemctl
