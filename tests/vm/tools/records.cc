// SPDX-License-Identifier: GPL-2.0
/* Sequences of records in memory, and the stamps of the test producer in them. */
#include "records.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "system.h"

namespace {

constexpr unsigned char kCaptureMagic[8] = {0x89, 'Z', 'E', 'M', '\r', '\n', 0x1a, '\n'};
constexpr std::size_t kHeaderSizeOffset = 12;

/* Offsets in the header of a block, as docs/capture.md has them. */
constexpr unsigned char kBlockMagic[8] = {0x8b, 'Z', 'B', 'L', '\r', '\n', 0x1a, '\n'};
constexpr std::size_t kStoredSizeOffset = 36;
constexpr std::size_t kCompressionOffset = 44;
constexpr std::size_t kStoredCrcOffset = 48;
constexpr std::size_t kBlockHeaderSize = 56;

using CrcTable = std::array<std::uint32_t, 256>;

constexpr CrcTable crc_table(std::uint32_t polynomial)
{
	CrcTable table{};
	for (std::uint32_t i = 0; i < 256; i++) {
		std::uint32_t value = i;
		for (int bit = 0; bit < 8; bit++)
			value = value & 1 ? polynomial ^ (value >> 1) : value >> 1;
		table[i] = value;
	}
	return table;
}

constexpr CrcTable kStampTable = crc_table(0xedb88320);
constexpr CrcTable kBlockTable = crc_table(0x82f63b78);

std::uint32_t crc32(const CrcTable &table, std::uint32_t crc, Bytes bytes)
{
	for (const unsigned char byte : bytes)
		crc = table[(crc ^ byte) & 0xff] ^ (crc >> 8);
	return crc;
}

std::uint32_t number_at(Bytes bytes, std::size_t offset)
{
	std::uint32_t number;
	std::memcpy(&number, bytes.data() + offset, sizeof(number));
	return number;
}

/* Returns the content of the block at the start of @bytes, if it is whole and not compressed. */
std::optional<Bytes> first_block(Bytes bytes)
{
	if (bytes.size() < kBlockHeaderSize ||
	    !std::equal(std::begin(kBlockMagic), std::end(kBlockMagic), bytes.begin()))
		return std::nullopt;
	const std::uint32_t size = number_at(bytes, kStoredSizeOffset);
	if (number_at(bytes, kCompressionOffset) != 0 || size > bytes.size() - kBlockHeaderSize)
		return std::nullopt;
	const Bytes content = bytes.subspan(kBlockHeaderSize, size);
	if (~crc32(kBlockTable, ~0u, content) != number_at(bytes, kStoredCrcOffset))
		return std::nullopt;
	return content;
}

} // namespace

bool is_zero(Bytes bytes)
{
	return std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; });
}

std::optional<Record> first_record(Bytes bytes)
{
	zem_record_header header;
	if (bytes.size() < sizeof(header) || is_zero(bytes.first(sizeof(header))))
		return std::nullopt;
	std::memcpy(&header, bytes.data(), sizeof(header));
	const bool is_known = header.channel < ZEM_CHANNEL_COUNT || header.channel == kMarkChannel;
	if (!is_known || header.len > bytes.size() - sizeof(header))
		return std::nullopt;
	return Record{header, bytes.subspan(sizeof(header), header.len)};
}

Extent extent_of(Bytes bytes)
{
	Extent extent;
	while (const auto record = first_record(bytes.subspan(extent.bytes))) {
		extent.bytes += record->size();
		extent.records++;
	}
	return extent;
}

std::vector<unsigned char> read_whole(const char *path)
{
	std::FILE *file = std::fopen(path, "rb");
	if (!file)
		give_up(path);
	std::vector<unsigned char> bytes;
	unsigned char chunk[65536];
	while (const std::size_t got = std::fread(chunk, 1, sizeof(chunk), file))
		bytes.insert(bytes.end(), chunk, chunk + got);
	std::fclose(file);
	return bytes;
}

std::vector<unsigned char> records_of(Bytes file)
{
	if (file.size() < kHeaderSizeOffset + 4 ||
	    !std::equal(std::begin(kCaptureMagic), std::end(kCaptureMagic), file.begin()))
		return {file.begin(), file.end()};
	const std::size_t header_size = number_at(file, kHeaderSizeOffset);
	file = file.subspan(std::min(header_size, file.size()));
	std::vector<unsigned char> records;
	while (const auto content = first_block(file)) {
		records.insert(records.end(), content->begin(), content->end());
		file = file.subspan(kBlockHeaderSize + content->size());
	}
	records.insert(records.end(), file.begin(), file.end());
	return records;
}

std::optional<produce_stamp> stamp_of(const Record &record)
{
	produce_stamp stamp;
	if (record.payload.size() < sizeof(stamp))
		return std::nullopt;
	std::memcpy(&stamp, record.payload.data(), sizeof(stamp));
	return stamp;
}

bool is_whole(const Record &record, const produce_stamp &stamp)
{
	for (std::size_t i = sizeof(stamp); i < record.payload.size(); i++)
		if (record.payload[i] != static_cast<unsigned char>(stamp.sequence + i))
			return false;

	produce_stamp without_checksum = stamp;
	without_checksum.checksum = 0;
	unsigned char head[sizeof(stamp)];
	std::memcpy(head, &without_checksum, sizeof(head));
	const std::uint32_t crc = crc32(kStampTable, crc32(kStampTable, ~0u, head),
					record.payload.subspan(sizeof(stamp)));
	return ~crc == stamp.checksum;
}

void print_record(const Record &record)
{
	static constexpr const char *kContexts[] = {"task", "softirq", "hardirq", "run-queue",
						    "nmi"};
	const zem_record_header &header = record.header;
	const bool is_clean = is_zero(header.reserved0) && is_zero(header.reserved1);

	std::printf("channel=%u sub_type=%u train_number=%d len=%u reserved=%s timestamp=%llu",
		    header.channel, header.sub_type, static_cast<int>(header.train_number),
		    header.len, is_clean ? "0" : "not-0",
		    static_cast<unsigned long long>(header.timestamp));
	const auto stamp = stamp_of(record);
	if (stamp && is_whole(record, *stamp)) {
		std::printf(" stamp=%llu cpu=%u context=%s\n",
			    static_cast<unsigned long long>(stamp->sequence), stamp->cpu,
			    stamp->context < PRODUCE_CONTEXTS ? kContexts[stamp->context] : "?");
		return;
	}
	std::printf(" payload=");
	for (const unsigned char byte : record.payload)
		std::printf("%02x", byte);
	std::printf("\n");
}
