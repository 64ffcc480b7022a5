/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The layout of capture files: the file header of both versions, and the blocks of version 2.
 * docs/capture.md describes the format for authors of other readers.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace zemctl {

inline constexpr std::uint32_t kCaptureVersion = 2;

/* Not text. A program that translates line ends damages it visibly. */
inline constexpr unsigned char kCaptureMagic[8] = {0x89, 'Z', 'E', 'M', '\r', '\n', 0x1a, '\n'};
inline constexpr unsigned char kBlockMagic[8] = {0x8b, 'Z', 'B', 'L', '\r', '\n', 0x1a, '\n'};

/* The largest header of a file, and the largest content of a block, stored or not. */
inline constexpr std::uint32_t kCaptureHeaderMax = 65536;
inline constexpr std::uint32_t kBlockContentMax = 1U << 20;

struct CaptureHeader {
	unsigned char magic[8];
	std::uint32_t version;
	std::uint32_t header_size; /* where the first block starts */
	std::uint64_t capture_id; /* random; in every block of the file */
	std::uint32_t reserved;
	std::uint32_t crc; /* CRC-32C of the bytes before; the last member in later versions, too */
};

static_assert(sizeof(CaptureHeader) == 32);
static_assert(offsetof(CaptureHeader, magic) == 0);
static_assert(offsetof(CaptureHeader, version) == 8);
static_assert(offsetof(CaptureHeader, header_size) == 12);
static_assert(offsetof(CaptureHeader, capture_id) == 16);
static_assert(offsetof(CaptureHeader, reserved) == 24);
static_assert(offsetof(CaptureHeader, crc) == 28);

/* In version 1, records and marks follow this header without blocks. */
struct CaptureHeaderV1 {
	unsigned char magic[8];
	std::uint32_t version;
	std::uint32_t header_size;
	std::uint64_t start_time;
	char boot_id[40];
	char kernel_release[72];
};

static_assert(sizeof(CaptureHeaderV1) == 136);
static_assert(offsetof(CaptureHeaderV1, magic) == 0);
static_assert(offsetof(CaptureHeaderV1, version) == 8);
static_assert(offsetof(CaptureHeaderV1, header_size) == 12);
static_assert(offsetof(CaptureHeaderV1, start_time) == 16);
static_assert(offsetof(CaptureHeaderV1, boot_id) == 24);
static_assert(offsetof(CaptureHeaderV1, kernel_release) == 64);

enum class BlockCompression : std::uint32_t { kNone = 0, kZstd = 1 };

struct BlockHeader {
	unsigned char magic[8];
	std::uint64_t capture_id;
	std::uint64_t sequence; /* of the block in the file, from 0 */
	std::uint64_t records_before; /* in all earlier blocks */
	std::uint32_t records; /* in this block */
	std::uint32_t stored_size; /* bytes that follow this header */
	std::uint32_t content_size; /* bytes of records and marks */
	std::uint32_t compression; /* enum BlockCompression */
	std::uint32_t stored_crc; /* CRC-32C of the bytes that follow */
	std::uint32_t crc; /* CRC-32C of the members before */
};

static_assert(sizeof(BlockHeader) == 56);
static_assert(offsetof(BlockHeader, magic) == 0);
static_assert(offsetof(BlockHeader, capture_id) == 8);
static_assert(offsetof(BlockHeader, sequence) == 16);
static_assert(offsetof(BlockHeader, records_before) == 24);
static_assert(offsetof(BlockHeader, records) == 32);
static_assert(offsetof(BlockHeader, stored_size) == 36);
static_assert(offsetof(BlockHeader, content_size) == 40);
static_assert(offsetof(BlockHeader, compression) == 44);
static_assert(offsetof(BlockHeader, stored_crc) == 48);
static_assert(offsetof(BlockHeader, crc) == 52);

} // namespace zemctl
