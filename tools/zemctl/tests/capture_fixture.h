/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Captures in memory: a file to write them to, and everything that a reader returns.
 */
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>

#include "base/file_descriptor.h"
#include "made_records.h"
#include "records/capture_reader.h"
#include "records/capture_writer.h"

namespace zemctl {

/* An anonymous file that starts with @bytes. */
class TemporaryFile {
public:
	explicit TemporaryFile(const ByteVector &bytes = {}) : fd_(::memfd_create("capture", 0))
	{
		EXPECT_EQ(::pwrite(fd_.get(), bytes.data(), bytes.size(), 0),
			  static_cast<ssize_t>(bytes.size()));
	}

	int fd() const { return fd_.get(); }

	ByteVector content() const
	{
		ByteVector bytes(static_cast<std::size_t>(::lseek(fd_.get(), 0, SEEK_END)));
		EXPECT_EQ(::pread(fd_.get(), bytes.data(), bytes.size(), 0),
			  static_cast<ssize_t>(bytes.size()));
		return bytes;
	}

private:
	FileDescriptor fd_;
};

/* A writer whose output is in memory. */
class CaptureInMemory {
public:
	explicit CaptureInMemory(BlockCompression compression = BlockCompression::kNone)
		: output_(file_.fd(), "some.zem"), writer(output_, compression)
	{
	}

	ByteVector content() const { return file_.content(); }

private:
	TemporaryFile file_;
	Output output_;

public:
	CaptureWriter writer;
};

struct ReadMark {
	MarkKind kind;
	std::uint64_t time;
	ByteVector payload;

	Mark mark() const { return {kind, time, payload}; }
};

struct CaptureContent {
	std::vector<std::string> payloads;
	std::vector<ReadMark> marks;
	std::vector<Skip> skips;
	std::size_t left_over = 0;
	bool finished = false;
};

/* Returns what a pipe or a socket has up to its end. */
inline ByteVector read_to_end(int fd)
{
	ByteVector all;
	std::byte bytes[65536];
	ssize_t size;
	while ((size = ::read(fd, bytes, sizeof(bytes))) > 0)
		all.insert(all.end(), bytes, bytes + size);
	return all;
}

inline CaptureContent read_all(const ByteVector &bytes)
{
	const TemporaryFile file(bytes);
	CaptureReader reader(file.fd(), "some.zem");
	CaptureContent content;
	while (const auto item = reader.next()) {
		if (const Record *record = std::get_if<Record>(&*item)) {
			content.payloads.push_back(payload_text(*record));
		} else if (const Mark *mark = std::get_if<Mark>(&*item)) {
			const ByteVector payload(mark->payload.begin(), mark->payload.end());
			content.marks.push_back({mark->kind, mark->time, payload});
		} else {
			content.skips.push_back(std::get<Skip>(*item));
		}
	}
	content.left_over = reader.left_over();
	content.finished = reader.is_finished();
	return content;
}

inline ByteVector first_bytes(const ByteVector &bytes, std::size_t size)
{
	return ByteVector(bytes.begin(), bytes.begin() + static_cast<long>(size));
}

template <typename T>
ByteVector raw_bytes_of(const T &object)
{
	const Bytes bytes = std::as_bytes(std::span(&object, 1));
	return ByteVector(bytes.begin(), bytes.end());
}

} // namespace zemctl
