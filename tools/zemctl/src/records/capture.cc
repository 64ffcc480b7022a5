// SPDX-License-Identifier: GPL-2.0
/*
 * Writes and reads capture files.
 */
#include "records/capture.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <fcntl.h>
#include <sys/utsname.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "records/walk.h"

namespace zemctl {

namespace {

constexpr std::size_t kReadSize = std::size_t{64} * 1024;

std::uint64_t wall_clock()
{
	const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
	return static_cast<std::uint64_t>(
		std::chrono::duration_cast<std::chrono::nanoseconds>(since_epoch).count());
}

template <std::size_t size>
void copy_text(char (&to)[size], std::string_view text)
{
	text.copy(to, size - 1);
}

template <typename T>
Bytes bytes_of(const T &object)
{
	return std::as_bytes(std::span(&object, 1));
}

/* Returns the boot id, or "" if it cannot be read: a capture is useful without it. */
std::string read_boot_id()
{
	const FileDescriptor fd(::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
	char text[36];
	if (!fd.is_open() || ::read(fd.get(), text, sizeof(text)) != sizeof(text))
		return {};
	return std::string(text, sizeof(text));
}

} // namespace

CaptureHeader make_capture_header()
{
	CaptureHeader header = {};
	std::ranges::copy(kCaptureMagic, header.magic);
	header.version = kCaptureVersion;
	header.header_size = sizeof(header);
	header.start_time = wall_clock();
	copy_text(header.boot_id, read_boot_id());
	utsname system = {};
	if (::uname(&system) == 0)
		copy_text(header.kernel_release, system.release);
	return header;
}

CaptureWriter::CaptureWriter(Output &output, const CaptureHeader &header) : output_(output)
{
	output_.append(bytes_of(header));
}

void CaptureWriter::write(const Record &record)
{
	output_.append(record.whole);
	totals_.records++;
	totals_.bytes += record.whole.size();
}

void CaptureWriter::note_losses(std::uint64_t gaps, std::uint64_t lost_bytes)
{
	if (gaps == totals_.gaps)
		return;
	totals_.gaps = gaps;
	totals_.lost_bytes = lost_bytes;
	write_mark(MarkKind::kGap);
}

void CaptureWriter::finish()
{
	write_mark(MarkKind::kEnd);
	flush();
}

void CaptureWriter::write_mark(MarkKind kind)
{
	zem_record_header header = {};
	header.timestamp = wall_clock();
	header.channel = kMarkChannel;
	header.sub_type = static_cast<std::uint8_t>(kind);
	header.len = sizeof(CaptureTotals);
	output_.append(bytes_of(header));
	output_.append(bytes_of(totals_));
}

CaptureReader::CaptureReader(int fd, std::string name) : fd_(fd), name_(std::move(name))
{
	if (!have(sizeof(kCaptureMagic)) ||
	    std::memcmp(buffer_.data(), kCaptureMagic, sizeof(kCaptureMagic)) != 0)
		throw Failure(fmt::format("{}: not a zem capture", name_));
	if (!have(sizeof(header_)))
		throw Failure(fmt::format("{}: the capture is cut off within its header", name_));
	std::memcpy(&header_, buffer_.data(), sizeof(header_));
	if (header_.version > kCaptureVersion)
		throw Failure(fmt::format("{}: capture version {} is newer than this zemctl, which "
					  "reads version {}",
					  name_, header_.version, kCaptureVersion));
	if (header_.version == 0 || header_.header_size < sizeof(header_) ||
	    header_.header_size > kReadSize)
		throw Failure(fmt::format("{}: the capture's header is damaged", name_));
	if (!have(header_.header_size))
		throw Failure(fmt::format("{}: the capture is cut off within its header", name_));
	header_.boot_id[sizeof(header_.boot_id) - 1] = '\0';
	header_.kernel_release[sizeof(header_.kernel_release) - 1] = '\0';
	begin_ += header_.header_size;
	position_ += header_.header_size;
}

/* Reads until @size bytes are pending. Return: false if the file ends before. */
bool CaptureReader::have(std::size_t size)
{
	while (end_ - begin_ < size) {
		std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
			  buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
		end_ -= begin_;
		begin_ = 0;
		buffer_.resize(std::max(end_ + kReadSize, buffer_.size()));
		const ssize_t got = ::read(fd_, buffer_.data() + end_, buffer_.size() - end_);
		if (got < 0 && errno != EINTR)
			throw system_failure(name_, errno);
		if (got == 0)
			return false;
		if (got > 0)
			end_ += static_cast<std::size_t>(got);
	}
	return true;
}

bool CaptureReader::at_end_of_buffer() const
{
	const Bytes rest = pending();
	return rest.size() < ZEM_HEADER_SIZE ||
	       rest.size() - ZEM_HEADER_SIZE < read_header(rest).len;
}

void CaptureReader::refuse(const std::string &why) const
{
	throw Failure(fmt::format("{}: byte {}: {}", name_, position_, why));
}

std::optional<std::variant<Record, Mark>> CaptureReader::next()
{
	if (!have(ZEM_HEADER_SIZE))
		return std::nullopt;
	const zem_record_header header = read_header(pending());
	const bool is_mark = header.channel == kMarkChannel;
	if (finished_)
		refuse("bytes after the end mark");
	if (is_mark && header.len != sizeof(CaptureTotals))
		refuse("a damaged mark");
	if (!is_mark && header_fault(header) == WalkStop::kBadChannel)
		refuse(fmt::format("not a record, channel {} does not exist", header.channel));
	if (!is_mark && header_fault(header) == WalkStop::kBadLength)
		refuse(fmt::format("not a record, its payload would have {} bytes", header.len));

	const std::size_t size = ZEM_HEADER_SIZE + header.len;
	if (!have(size))
		return std::nullopt;
	const Record record = {header, pending().first(size)};
	begin_ += size;
	position_ += size;
	if (!is_mark)
		return record;

	Mark mark = {static_cast<MarkKind>(header.sub_type), {}};
	std::memcpy(&mark.totals, record.payload().data(), sizeof(mark.totals));
	finished_ = mark.kind == MarkKind::kEnd;
	return mark;
}

} // namespace zemctl
