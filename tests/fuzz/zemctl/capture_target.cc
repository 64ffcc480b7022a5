// SPDX-License-Identifier: GPL-2.0
/*
 * Capture files. What is read and what is skipped is not more than the file. Records that are
 * written to a new capture read back unchanged. An input without a capture's first bytes is read as
 * the content of a block with the right checksums, which random input would not have.
 */
#include <algorithm>
#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "base/errors.h"
#include "base/file_descriptor.h"
#include "forms.h"
#include "records/capture_reader.h"
#include "records/capture_writer.h"
#include "records/crc32c.h"
#include "targets.h"

namespace zemctl::fuzz {

namespace {

FileDescriptor make_file(Bytes content = {})
{
	FileDescriptor file(::memfd_create("capture", MFD_CLOEXEC));
	require(file.is_open(), "there is memory for a file");
	require(::pwrite(file.get(), content.data(), content.size(), 0) ==
			static_cast<ssize_t>(content.size()),
		"the input fits into a file");
	return file;
}

struct Reading {
	std::uint64_t records = 0;
	std::uint64_t record_bytes = 0;
	std::uint64_t skipped_bytes = 0;
	bool is_whole = false;
};

/* @copy receives the records in the order of the file. */
Reading read_all(int fd, CaptureWriter *copy)
{
	Reading reading;
	CaptureReader reader(fd, "capture");
	std::uint64_t mark_bytes = 0, last_skip = 0;
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
		} else if (const Mark *mark = std::get_if<Mark>(&*item)) {
			mark_bytes += ZEM_HEADER_SIZE + mark->payload.size();
			static_cast<void>(mark->totals());
		} else {
			const Skip &skip = std::get<Skip>(*item);
			require(skip.position >= last_skip, "damage is reported in order");
			last_skip = skip.position;
			reading.skipped_bytes += skip.bytes;
		}
	}
	const auto size = static_cast<std::uint64_t>(::lseek(fd, 0, SEEK_END));
	require(reading.skipped_bytes + reader.left_over() <= size,
		"what is skipped is in the file");
	require(reader.version() != 1 || reading.record_bytes + mark_bytes + reading.skipped_bytes +
							 reader.left_over() <=
						 size - sizeof(CaptureHeaderV1),
		"each byte of an old capture has one place");
	reading.is_whole = reader.is_finished();
	return reading;
}

void read_and_copy(Bytes capture)
{
	const FileDescriptor file = make_file(capture);
	const FileDescriptor copy = make_file();
	Output output(copy.get(), "copy");
	CaptureWriter writer(output, capture.size() % 2 == 0 ? BlockCompression::kNone :
							       BlockCompression::kZstd);
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
			second.record_bytes == first.record_bytes && second.skipped_bytes == 0,
		"what is written again reads as before");
}

/* A file header is not necessary: the block determines the capture. */
std::vector<std::byte> block_with(Bytes content)
{
	BlockHeader header = {};
	std::ranges::copy(kBlockMagic, header.magic);
	header.stored_size = static_cast<std::uint32_t>(content.size());
	header.content_size = header.stored_size;
	header.stored_crc = crc32c(content);
	const Bytes bytes = std::as_bytes(std::span(&header, 1));
	header.crc = crc32c(bytes.first(offsetof(BlockHeader, crc)));
	std::vector<std::byte> block(bytes.begin(), bytes.end());
	block.insert(block.end(), content.begin(), content.end());
	return block;
}

} // namespace

void run_capture(Input input)
{
	const Bytes bytes = std::as_bytes(input);
	read_and_copy(bytes);
	const bool is_capture = bytes.size() >= sizeof(kCaptureMagic) &&
				std::memcmp(bytes.data(), kCaptureMagic, sizeof(kCaptureMagic)) ==
					0;
	if (!is_capture && bytes.size() <= kBlockContentMax)
		read_and_copy(block_with(bytes));
}

} // namespace zemctl::fuzz
