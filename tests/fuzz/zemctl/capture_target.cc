// SPDX-License-Identifier: GPL-2.0
/*
 * Capture files. Each byte of a complete file belongs to the header, a record or a mark, or is
 * reported as left over. Records that are written to a new capture read back unchanged.
 */
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include "base/errors.h"
#include "base/file_descriptor.h"
#include "forms.h"
#include "records/capture.h"
#include "targets.h"

namespace zemctl::fuzz {

namespace {

FileDescriptor make_file()
{
	FileDescriptor file(::memfd_create("capture", MFD_CLOEXEC));
	require(file.is_open(), "there is memory for a file");
	return file;
}

struct Reading {
	std::uint64_t records = 0;
	std::uint64_t record_bytes = 0;
	std::uint64_t mark_bytes = 0;
	bool is_whole = false;
};

/* @copy receives the records in the order of the file. */
Reading read_all(int fd, CaptureWriter *copy)
{
	Reading reading;
	CaptureReader reader(fd, "capture");
	for (;;) {
		const bool is_at_end = reader.at_end_of_buffer();
		const auto item = reader.next();
		if (!item)
			break;
		static_cast<void>(is_at_end);
		if (const Record *record = std::get_if<Record>(&*item)) {
			require(record->whole.size() == ZEM_HEADER_SIZE + record->header.len,
				"a record is as long as it says");
			show_in_every_form(*record);
			reading.records++;
			reading.record_bytes += record->whole.size();
			if (copy)
				copy->write(*record);
		} else {
			reading.mark_bytes += ZEM_HEADER_SIZE + sizeof(CaptureTotals);
		}
	}
	const off_t size = ::lseek(fd, 0, SEEK_END);
	require(static_cast<std::uint64_t>(size) == reader.header().header_size +
							    reading.record_bytes +
							    reading.mark_bytes + reader.left_over(),
		"each byte of a capture has its place");
	reading.is_whole = reader.is_finished();
	return reading;
}

} // namespace

void run_capture(Input input)
{
	const FileDescriptor file = make_file();
	const FileDescriptor copy = make_file();
	require(::pwrite(file.get(), input.data(), input.size(), 0) ==
			static_cast<ssize_t>(input.size()),
		"the input fits into a file");
	Output output(copy.get(), "copy");
	CaptureWriter writer(output, make_capture_header());
	Reading first;
	try {
		first = read_all(file.get(), &writer);
	} catch (const Failure &failure) {
		require(std::strstr(failure.what(), "capture") != nullptr,
			"a failure names the file");
		return;
	}
	writer.finish();
	require(::lseek(copy.get(), 0, SEEK_SET) == 0, "a file has a beginning");
	const Reading second = read_all(copy.get(), nullptr);
	require(second.is_whole && second.records == first.records &&
			second.record_bytes == first.record_bytes,
		"what is written again reads as before");
}

} // namespace zemctl::fuzz
