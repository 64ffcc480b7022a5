/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes a capture file of version 2 to an output: collects records and marks in a block, and
 * writes the block as a whole.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "records/capture_format.h"
#include "records/compression.h"
#include "records/marks.h"
#include "records/record.h"
#include "text/output.h"

namespace zemctl {

/* The losses of a recording so far. */
struct Losses {
	std::uint64_t gaps = 0; /* grows with each loss of any kind */
	std::uint64_t lost_bytes = 0;
	std::uint64_t dropped_records = 0;
	std::uint64_t dropped_bytes = 0;
	std::uint64_t kernel_lost = 0;
};

/* The clocks and the module's counters at one moment. */
struct Moment {
	ClockReading clock;
	ModuleCounters counters;
};

class CaptureWriter {
public:
	/* A block is written as soon as its content has about this size. */
	static constexpr std::size_t kBlockSize = std::size_t{64} * 1024;

	/* @so_far has the losses before this file, which its totals do not include. */
	CaptureWriter(Output &output, BlockCompression compression, const Losses &so_far = {});

	void write(const Record &record) { write(record.whole, 1); }
	/* Writes @count whole records of at most kBlockSize bytes in total into one block. */
	void write(Bytes records, std::uint64_t count);
	/* The payload is smaller than kBlockContentMax. */
	void write_mark(MarkKind kind, Bytes payload);
	void write_moment(const Moment &moment);
	/* Sets the losses so far, and writes a mark if the number of gaps has changed. */
	void note_losses(const Losses &losses);
	/* Writes the block that was begun, if there is one. A reader can read it then. */
	void end_block();
	/* Writes the end mark. Nothing may follow. */
	void finish();

	bool has_begun_block() const { return block_.size() > sizeof(BlockHeader); }
	/* The number of records, with those of the block that was begun. */
	const CaptureTotals &totals() const { return totals_; }
	/* The records in blocks that were written, and the size of the file with these blocks. */
	std::uint64_t records_written() const { return records_before_; }
	std::uint64_t bytes_written() const { return bytes_written_; }

private:
	void append(Bytes head, Bytes rest);
	void write_totals(MarkKind kind);
	void write_out(Bytes bytes);

	Output &output_;
	std::uint64_t capture_id_;
	std::optional<BlockCompressor> compressor_;
	Losses before_;
	CaptureTotals totals_ = {};
	/* The block that was begun, after the room for its header; the same compressed. */
	std::vector<std::byte> block_ = std::vector<std::byte>(sizeof(BlockHeader));
	std::vector<std::byte> compressed_;
	std::uint64_t sequence_ = 0;
	std::uint64_t records_before_ = 0;
	std::uint64_t bytes_written_ = 0;
};

} // namespace zemctl
