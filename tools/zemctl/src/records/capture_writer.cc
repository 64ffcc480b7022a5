// SPDX-License-Identifier: GPL-2.0
/*
 * Writes capture files.
 */
#include "records/capture_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/random.h>

#include "base/errors.h"
#include "base/wall_clock.h"
#include "records/crc32c.h"

namespace zemctl {

namespace {

template <typename T>
Bytes bytes_of(const T &object)
{
	return std::as_bytes(std::span(&object, 1));
}

/* A header ends with the CRC of its other members. */
template <typename Header>
void seal(Header &header)
{
	static_assert(offsetof(Header, crc) + sizeof(header.crc) == sizeof(Header));
	header.crc = crc32c(bytes_of(header).first(offsetof(Header, crc)));
}

/* A payload cannot contain a block of the file that it will be in. */
std::uint64_t random_id()
{
	std::uint64_t id;
	if (::getrandom(&id, sizeof(id), 0) != sizeof(id))
		throw system_failure("getrandom", errno);
	return id;
}

} // namespace

CaptureWriter::CaptureWriter(Output &output, BlockCompression compression, const Losses &so_far)
	: output_(output), capture_id_(random_id()), before_(so_far)
{
	if (compression == BlockCompression::kZstd)
		compressor_.emplace();
	CaptureHeader header = {};
	std::ranges::copy(kCaptureMagic, header.magic);
	header.version = kCaptureVersion;
	header.header_size = sizeof(header);
	header.capture_id = capture_id_;
	seal(header);
	write_out(bytes_of(header));
}

void CaptureWriter::write(Bytes records, std::uint64_t count)
{
	append(records, {});
	totals_.records += count;
	totals_.bytes += records.size();
}

void CaptureWriter::write_mark(MarkKind kind, Bytes payload)
{
	zem_record_header header = {};
	header.timestamp = wall_clock();
	header.channel = kMarkChannel;
	header.sub_type = static_cast<std::uint8_t>(kind);
	header.len = static_cast<std::uint32_t>(payload.size());
	append(bytes_of(header), payload);
}

void CaptureWriter::write_moment(const Moment &moment)
{
	write_mark(MarkKind::kClock, bytes_of(moment.clock));
	write_mark(MarkKind::kCounters, bytes_of(moment.counters));
}

void CaptureWriter::note_losses(const Losses &losses)
{
	const std::uint64_t gaps = losses.gaps - before_.gaps;
	if (gaps == totals_.gaps)
		return;
	totals_.gaps = gaps;
	totals_.lost_bytes = losses.lost_bytes - before_.lost_bytes;
	totals_.dropped_records = losses.dropped_records - before_.dropped_records;
	totals_.dropped_bytes = losses.dropped_bytes - before_.dropped_bytes;
	totals_.kernel_lost = losses.kernel_lost - before_.kernel_lost;
	write_totals(MarkKind::kGap);
}

void CaptureWriter::finish()
{
	write_totals(MarkKind::kEnd);
	end_block();
}

void CaptureWriter::write_totals(MarkKind kind)
{
	write_mark(kind, bytes_of(totals_));
}

void CaptureWriter::append(Bytes head, Bytes rest)
{
	if (block_.size() - sizeof(BlockHeader) + head.size() + rest.size() > kBlockSize)
		end_block();
	block_.insert(block_.end(), head.begin(), head.end());
	if (!rest.empty())
		block_.insert(block_.end(), rest.begin(), rest.end());
}

void CaptureWriter::end_block()
{
	if (!has_begun_block())
		return;
	const Bytes content = Bytes(block_).subspan(sizeof(BlockHeader));
	std::span<std::byte> whole = block_;
	BlockHeader header = {};
	if (compressor_) {
		compressed_.resize(sizeof(header));
		if (compressor_->append_compressed(content, compressed_)) {
			header.compression = static_cast<std::uint32_t>(BlockCompression::kZstd);
			whole = compressed_;
		}
	}

	const Bytes stored = whole.subspan(sizeof(header));
	std::ranges::copy(kBlockMagic, header.magic);
	header.capture_id = capture_id_;
	header.sequence = sequence_++;
	header.records_before = records_before_;
	header.records = static_cast<std::uint32_t>(totals_.records - records_before_);
	header.stored_size = static_cast<std::uint32_t>(stored.size());
	header.content_size = static_cast<std::uint32_t>(content.size());
	header.stored_crc = crc32c(stored);
	seal(header);
	std::memcpy(whole.data(), &header, sizeof(header));

	write_out(whole);
	block_.resize(sizeof(header));
	records_before_ = totals_.records;
}

void CaptureWriter::write_out(Bytes bytes)
{
	output_.write(bytes);
	bytes_written_ += bytes.size();
}

} // namespace zemctl
