/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Capture files. A capture consists of, in this order and with all integers little-endian:
 *
 *	a capture header	struct CaptureHeader, `header_size` bytes
 *	records and marks	back to back, without padding, in the order of arrival
 *
 * A record is a header and a payload as <linux/zem.h> describes them, unchanged. Records of one CPU
 * are in order. Records of different CPUs need not be: sort by timestamp if the order matters.
 *
 * A mark has the form of a record with the channel 255, which does not exist, so that a reader can
 * skip it. Its timestamp is the time of writing, its sub_type the kind of mark, and its payload a
 * struct CaptureTotals of everything before it:
 *
 *	1, gap	bytes were lost, or may have been lost, since the previous mark
 *	2, end	the capture is complete; nothing follows
 *
 * A file without the end mark is incomplete: its writer was killed, or a write failed. All whole
 * records in such a file are valid.
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

/* Not text. A program that translates line ends damages it visibly. */
inline constexpr unsigned char kCaptureMagic[8] = {0x89, 'Z', 'E', 'M', '\r', '\n', 0x1a, '\n'};
inline constexpr std::uint32_t kCaptureVersion = 1;
inline constexpr std::uint8_t kMarkChannel = 255;

struct CaptureHeader {
	unsigned char magic[8];
	std::uint32_t version; /* kCaptureVersion; a reader refuses a newer version */
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
	std::uint64_t bytes; /* of the records, including their headers */
	std::uint64_t lost_bytes;
	std::uint64_t gaps;
};

static_assert(sizeof(CaptureTotals) == 32);
static_assert(offsetof(CaptureTotals, records) == 0);
static_assert(offsetof(CaptureTotals, bytes) == 8);
static_assert(offsetof(CaptureTotals, lost_bytes) == 16);
static_assert(offsetof(CaptureTotals, gaps) == 24);

/* Returns the header of a capture that starts now on this machine. */
CaptureHeader make_capture_header();

class CaptureWriter {
public:
	CaptureWriter(Output &output, const CaptureHeader &header);

	void write(const Record &record);
	/* Sets the losses so far, and writes a mark if the number of gaps has changed. */
	void note_losses(std::uint64_t gaps, std::uint64_t lost_bytes);
	void finish();
	void flush() { output_.flush(); }

	const CaptureTotals &totals() const { return totals_; }

private:
	void write_mark(MarkKind kind);

	Output &output_;
	CaptureTotals totals_ = {};
};

/* A mark between records. */
struct Mark {
	MarkKind kind;
	CaptureTotals totals;
};

class CaptureReader {
public:
	/* Reads and checks the header. Does not own @fd. @name is used in messages. */
	CaptureReader(int fd, std::string name);

	const CaptureHeader &header() const { return header_; }

	/*
	 * Returns the next record or mark, or nothing at the end of the file. A record is valid
	 * until the next call. Throws a Failure for bytes that are neither.
	 */
	std::optional<std::variant<Record, Mark>> next();

	/* After the end: the bytes of an incomplete record, and whether the end mark was read. */
	std::size_t left_over() const { return end_ - begin_; }
	bool is_finished() const { return finished_; }
	/* Returns whether next() has to read from the file, which may block. */
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
