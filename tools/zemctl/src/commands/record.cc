// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl record: writes records to a capture file.
 */
#include "commands/commands.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "commands/options.h"
#include "commands/reading.h"
#include "records/capture.h"
#include "text/output.h"

namespace zemctl {

namespace {

struct RecordOptions {
	ReadOptions read;
	std::string file; /* "-" stands for standard output */
	std::optional<std::uint64_t> records;
};

/* No user watches the file. A process that is killed loses the records of this time. */
constexpr auto kRecordLookInterval = std::chrono::milliseconds(250);

/* Owns the file, but not standard output. */
class CaptureFile {
public:
	explicit CaptureFile(const std::string &path) : output_(open(path), name_of(path))
	{
		if (path != "-")
			file_ = FileDescriptor(output_.fd());
		else if (output_.is_terminal())
			throw usage_failure("record: a capture is not for a terminal, redirect it");
	}

	Output &output() { return output_; }

	/* Some file systems report a lack of space only at this point. */
	void close()
	{
		struct stat status;
		if (::fstat(output_.fd(), &status) == 0 && S_ISREG(status.st_mode) &&
		    ::fsync(output_.fd()) != 0)
			throw system_failure(output_.name(), errno);
		if (file_.is_open() && ::close(file_.release()) != 0)
			throw system_failure(output_.name(), errno);
	}

private:
	static std::string name_of(const std::string &path)
	{
		return path == "-" ? "standard output" : path;
	}

	static int open(const std::string &path)
	{
		if (path == "-")
			return STDOUT_FILENO;
		const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
		if (fd < 0)
			throw system_failure(path, errno);
		return fd;
	}

	FileDescriptor file_;
	Output output_;
};

class RecordSink {
public:
	explicit RecordSink(const RecordOptions &options)
		: file_(options.file), writer_(file_.output(), make_capture_header()),
		  limit_(options.records)
	{
		writer_.flush();
	}

	/*
	 * If a write fails, the file has no end mark, so that a reader recognises it as
	 * incomplete.
	 */
	bool deliver(const Reader &reader)
	{
		print_notes(reader);
		for (const Record &record : reader.records()) {
			if (is_full())
				break;
			writer_.write(record);
		}
		gaps_ = reader.counters().gaps;
		lost_bytes_ = reader.counters().lost_bytes;
		writer_.note_losses(gaps_ + kernel_gaps_, lost_bytes_);
		writer_.flush();
		return !is_full();
	}

	/* Marks the loss in the file. The number of lost bytes is unknown. */
	void note_kernel_loss()
	{
		kernel_gaps_++;
		writer_.note_losses(gaps_ + kernel_gaps_, lost_bytes_);
	}

	void finish()
	{
		writer_.finish();
		file_.close();
	}

	int fd() { return file_.output().fd(); }
	std::uint64_t kept() const { return writer_.totals().records; }

private:
	bool is_full() const { return limit_ && writer_.totals().records >= *limit_; }

	CaptureFile file_;
	CaptureWriter writer_;
	std::optional<std::uint64_t> limit_;
	std::uint64_t gaps_ = 0;
	std::uint64_t kernel_gaps_ = 0;
	std::uint64_t lost_bytes_ = 0;
};

int run_record(const Paths &paths, const RecordOptions &options)
{
	DeviceReading reading(paths);
	RecordSink sink(options);
	return reading.run(options.read, kRecordLookInterval, sink);
}

} // namespace

void add_record(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<RecordOptions>();
	CLI::App *command =
		app.add_subcommand("record", "Write records to a capture file until Ctrl-C");
	command->add_option("-o,--output", options->file, "The file; - for standard output")
		->required();
	add_read_options(*command, options->read);
	add_record_limit(*command, options->records);
	runs(*command, line, [options](const Paths &paths) { return run_record(paths, *options); });
}

} // namespace zemctl
