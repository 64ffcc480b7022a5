// SPDX-License-Identifier: GPL-2.0
/*
 * The file or files of a recording.
 */
#include "records/capture_files.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/errors.h"
#include "base/open_file.h"

namespace zemctl {

namespace {

/*
 * Small blocks compress badly, so a compressed block waits for more records: with the time that
 * they were queued, for a second.
 */
constexpr auto kCompressedHoldTime = std::chrono::milliseconds(750);

bool is_regular(int fd)
{
	struct stat status;
	return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

/* The file that is being written. Does not own standard output. */
struct CaptureFiles::File {
	File(FileDescriptor own, const std::string &name, BlockCompression compression,
	     const Losses &losses)
		: owned(std::move(own)),
		  output(owned.is_open() ? owned.get() : STDOUT_FILENO, name),
		  writer(output, compression, losses), opened(Clock::now())
	{
	}

	/* Some file systems report a lack of space only at this point. */
	void close()
	{
		if (is_regular(output.fd()) && ::fsync(output.fd()) != 0)
			throw system_failure(output.name(), errno);
		if (owned.is_open() && ::close(owned.release()) != 0)
			throw system_failure(output.name(), errno);
	}

	/* Removes the part of a block that was written before a write failed. */
	void cut_to_whole_blocks()
	{
		if (owned.is_open() && is_regular(owned.get()))
			static_cast<void>(::ftruncate(owned.get(),
						      static_cast<off_t>(writer.bytes_written())) ==
					  0);
	}

	FileDescriptor owned;
	Output output;
	CaptureWriter writer;
	Clock::time_point opened;
	Clock::time_point block_begun;
};

CaptureFiles::CaptureFiles(CaptureFilesOptions options, Preamble preamble)
	: options_(std::move(options)), preamble_(std::move(preamble)),
	  hold_time_(options_.compression == BlockCompression::kNone ?
			     std::chrono::nanoseconds::zero() :
			     std::chrono::nanoseconds(kCompressedHoldTime))
{
	if (options_.rotates())
		rotation_.emplace(options_.path, options_.keep);
	open();
}

CaptureFiles::~CaptureFiles() = default;

std::string CaptureFiles::name() const
{
	if (rotation_)
		return rotation_->path();
	return options_.path == "-" ? "standard output" : options_.path;
}

int CaptureFiles::pipe_fd() const
{
	return options_.path == "-" ? STDOUT_FILENO : -1;
}

/* Opens a file unless one is open. */
void CaptureFiles::open()
{
	if (file_)
		return;
	FileDescriptor own;
	if (rotation_)
		own = rotation_->create();
	else if (options_.path != "-")
		own = open_file(options_.path, kCreateFlags, 0644);
	else if (::isatty(STDOUT_FILENO) == 1)
		throw usage_failure("record: a capture is not for a terminal, redirect it");
	guarded([&] {
		file_ = std::make_unique<File>(std::move(own), name(), options_.compression,
					       losses_);
		preamble_(file_->writer);
		file_->writer.end_block();
	});
}

/* Runs @action. After a failed write, the file has whole blocks only, and no end mark. */
template <typename Action>
void CaptureFiles::guarded(const Action &action)
{
	try {
		action();
	} catch (const BrokenPipe &) {
		throw system_failure(name(), EPIPE);
	} catch (const Failure &) {
		if (file_)
			file_->cut_to_whole_blocks();
		throw;
	}
}

void CaptureFiles::write(Bytes records, std::uint64_t count)
{
	open();
	if (!file_->writer.has_begun_block())
		file_->block_begun = Clock::now();
	guarded([&] { file_->writer.write(records, count); });
	rotate_if_large();
}

void CaptureFiles::note(const std::optional<Moment> &moment, const Losses &losses)
{
	/* A new file would have no records. */
	if (!file_ && losses.gaps == losses_.gaps)
		return;
	open();
	losses_ = losses;
	if (!file_->writer.has_begun_block())
		file_->block_begun = Clock::now();
	guarded([&] {
		if (moment)
			file_->writer.write_moment(*moment);
		file_->writer.note_losses(losses);
	});
}

void CaptureFiles::settle()
{
	if (!file_)
		return;
	const Clock::time_point now = Clock::now();
	if (file_->writer.has_begun_block() && now - file_->block_begun >= hold_time_)
		guarded([&] { file_->writer.end_block(); });
	rotate_if_large();
	/* A file without records gets no older. */
	if (file_ && options_.rotate_time && now - file_->opened >= *options_.rotate_time &&
	    file_->writer.totals().records > 0)
		end_file();
}

std::optional<CaptureFiles::Clock::time_point> CaptureFiles::deadline() const
{
	std::optional<Clock::time_point> time;
	if (file_ && file_->writer.has_begun_block())
		time = file_->block_begun + hold_time_;
	if (file_ && options_.rotate_time && file_->writer.totals().records > 0)
		time = std::min(time.value_or(Clock::time_point::max()),
				file_->opened + *options_.rotate_time);
	return time;
}

void CaptureFiles::rotate_if_large()
{
	if (options_.rotate_bytes && file_->writer.bytes_written() >= *options_.rotate_bytes &&
	    file_->writer.records_written() > 0)
		end_file();
}

/* The next file is opened when there is something to write. */
void CaptureFiles::end_file()
{
	guarded([&] {
		file_->writer.finish();
		file_->close();
	});
	records_before_ += file_->writer.records_written();
	file_.reset();
	if (rotation_)
		rotation_->finish();
}

void CaptureFiles::abandon()
{
	if (file_)
		guarded([&] { file_->writer.end_block(); });
}

void CaptureFiles::finish()
{
	if (file_)
		end_file();
}

std::uint64_t CaptureFiles::records_written() const
{
	return records_before_ + (file_ ? file_->writer.records_written() : 0);
}

} // namespace zemctl
