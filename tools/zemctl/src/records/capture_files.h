/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The file or files of a recording: opens them, ends blocks in time, and starts the next file when
 * the current one is large or old enough. Context: one thread.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/file_descriptor.h"
#include "records/capture_writer.h"
#include "records/rotation.h"
#include "text/output.h"

namespace zemctl {

struct CaptureFilesOptions {
	std::string path; /* "-" stands for standard output */
	BlockCompression compression = BlockCompression::kNone;
	/* A file of at least this size, or of at least this age, is followed by the next one. */
	std::optional<std::uint64_t> rotate_bytes;
	std::optional<std::chrono::nanoseconds> rotate_time;
	std::optional<std::uint64_t> keep;

	bool rotates() const { return rotate_bytes || rotate_time; }
};

/*
 * A failure to write is thrown as a Failure that names the file, also if the output is a pipe
 * without reader. The blocks that were written remain readable.
 */
class CaptureFiles {
public:
	using Clock = std::chrono::steady_clock;
	/* Writes the marks at the start of each file. */
	using Preamble = std::function<void(CaptureWriter &)>;

	/* Opens the first file. */
	CaptureFiles(CaptureFilesOptions options, Preamble preamble);
	~CaptureFiles();

	void write(const Record &record) { write(record.whole, 1); }
	/* Writes @count whole records into one block, as CaptureWriter::write() does. */
	void write(Bytes records, std::uint64_t count);
	void note(const std::optional<Moment> &moment, const Losses &losses);

	/* Ends the block and the file if it is time. Called when nothing is left to write. */
	void settle();
	/* The time when settle() has something to do although nothing is written. */
	std::optional<Clock::time_point> deadline() const;
	/* Ends the block of a recording that fails elsewhere. The file has no end mark. */
	void abandon();
	void finish();

	/* Standard output, whose reader may go away; -1 for a file. */
	int pipe_fd() const;
	std::string name() const;
	/* The records in blocks that were written. */
	std::uint64_t records_written() const;

private:
	struct File;

	void open();
	void end_file();
	void rotate_if_large();
	template <typename Action>
	void guarded(const Action &action);

	CaptureFilesOptions options_;
	Preamble preamble_;
	std::optional<Rotation> rotation_;
	std::unique_ptr<File> file_;
	Losses losses_;
	std::uint64_t records_before_ = 0; /* in earlier files */
	std::chrono::nanoseconds hold_time_;
};

} // namespace zemctl
