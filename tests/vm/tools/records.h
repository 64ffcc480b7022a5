/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Records in memory, one after the other, and the stamps that the test producer puts into them.
 * Written for the tests alone, so that a mistake of zemctl's own walk does not go unnoticed.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include <linux/zem.h>

#include "produce.h"

using Bytes = std::span<const unsigned char>;

struct Record {
	zem_record_header header;
	Bytes payload;

	std::size_t size() const { return sizeof(header) + payload.size(); }
};

/* Channels above the last that this walk steps over: what a capture has between records. */
inline constexpr std::uint8_t kMarkChannel = 255;

bool is_zero(Bytes bytes);

/* The record at the start of @bytes, or nothing when no whole record is there. */
std::optional<Record> first_record(Bytes bytes);

/* Bytes of the whole records that @bytes begins with, and their number. */
struct Extent {
	std::size_t bytes = 0;
	std::size_t records = 0;
};
Extent extent_of(Bytes bytes);

/* A file's bytes, and of those where the records begin: it may be a capture, or them alone. */
std::vector<unsigned char> read_whole(const char *path);
Bytes records_of(Bytes file);

/* Nothing when the payload is too short for a stamp. */
std::optional<produce_stamp> stamp_of(const Record &record);

/* Is each byte as the producer that stamped the payload left it? */
bool is_whole(const Record &record, const produce_stamp &stamp);

/* A line with each field of the header and the whole payload. */
void print_record(const Record &record);
