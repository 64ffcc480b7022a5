/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Capture files. A capture is, in this order, all integers little-endian:
 *
 *	a capture header	struct CaptureHeader, `header_size` bytes
 *	records and marks	back to back, without padding, in the order of arrival
 *
 * A record is what <linux/zem.h> describes, header and payload, unchanged. Records of one CPU
 * are in order; those of different CPUs need not be, so sort by timestamp where that matters.
 *
 * A mark looks like a record of a channel that does not exist, 255, so that a reader can step
 * over it. Its timestamp is the time of writing, its sub_type the kind of mark, its payload a
 * struct CaptureTotals of all that came before it:
 *
 *	1, gap	bytes were lost, or may have been, among the records since the mark before
 *	2, end	the capture was finished in order; nothing follows
 *
 * A file without the end mark was not finished: its writer was killed, or could not write. All
 * whole records of such a file are good.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/file_descriptor.h"
#include "records/record.h"
#include "text/output.h"

namespace zemctl {

/* Not text, and broken in a visible way by whatever translates line ends. */
inline constexpr unsigned char kCaptureMagic[8] = {0x89, 'Z', 'E', 'M', '\r', '\n', 0x1a, '\n'};
inline constexpr std::uint32_t kCaptureVersion = 1;
inline constexpr std::uint8_t kMarkChannel = 255;

struct CaptureHeader {
	unsigned char magic[8];
	std::uint32_t version; /* kCaptureVersion; a reader refuses a newer one */
	std::uint32_t header_size; /* where the records start */
	std::uint64_t start_time; /* wall-clock time, ns since the epoch */
	char boot_id[40]; /* /proc/sys/kernel/random/boot_id, zero-terminated */
	char kernel_release[72]; /* as uname -r, zero-terminated */
};

static_assert(sizeof(CaptureHeader) == 136);
static_assert(offsetof(CaptureHeader, magic) == 0);
static_assert(offsetof(CaptureHeader, version) == 8);
static_assert(offsetof(CaptureHeader, header_size) == 12);
static_assert(offsetof(CaptureHeader, start_time) == 16);
static_assert(offsetof(CaptureHeader, boot_id) == 24);
static_assert(offsetof(CaptureHeader, kernel_release) == 64);

enum class MarkKind : std::uint8_t { kGap = 1, kEnd = 2 };

struct CaptureTotals {
	std::uint64_t records;
	std::uint64_t bytes; /* of records, their headers included */
	std::uint64_t lost_bytes;
	std::uint64_t gaps;
};

static_assert(sizeof(CaptureTotals) == 32);
static_assert(offsetof(CaptureTotals, records) == 0);
static_assert(offsetof(CaptureTotals, bytes) == 8);
static_assert(offsetof(CaptureTotals, lost_bytes) == 16);
static_assert(offsetof(CaptureTotals, gaps) == 24);

/* The header of a capture that starts now on this machine. */
CaptureHeader make_capture_header();

class CaptureWriter {
public:
	CaptureWriter(Output &output, const CaptureHeader &header);

	void write(const Record &record);
	/* Losses so far; a mark is written when there are more gaps than before. */
	void note_losses(std::uint64_t gaps, std::uint64_t lost_bytes);
	void finish();
	void flush() { output_.flush(); }

	const CaptureTotals &totals() const { return totals_; }

private:
	void write_mark(MarkKind kind);

	Output &output_;
	CaptureTotals totals_ = {};
};

/* What stands between the records. */
struct Mark {
	MarkKind kind;
	CaptureTotals totals;
};

class CaptureReader {
public:
	/* Reads and checks the header. Does not own @fd; @name is for messages. */
	CaptureReader(int fd, std::string name);

	const CaptureHeader &header() const { return header_; }

	/*
	 * The next record or mark, or nothing at the end of the file. A record is valid until
	 * the next call. Throws a Failure for bytes that are neither.
	 */
	std::optional<std::variant<Record, Mark>> next();

	/* After the end: bytes of a record that is not whole, and whether the end mark came. */
	std::size_t left_over() const { return end_ - begin_; }
	bool is_finished() const { return finished_; }
	/* Would next() have to read from the file, and perhaps wait? */
	bool at_end_of_buffer() const;

private:
	bool have(std::size_t size);
	Bytes pending() const { return Bytes(buffer_).subspan(begin_, end_ - begin_); }
	[[noreturn]] void refuse(const std::string &why) const;

	int fd_;
	std::string name_;
	CaptureHeader header_ = {};
	std::vector<std::byte> buffer_;
	std::size_t begin_ = 0;
	std::size_t end_ = 0;
	std::uint64_t position_ = 0; /* of begin_ in the file */
	bool finished_ = false;
};

} // namespace zemctl
