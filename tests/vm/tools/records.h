/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Sequences of records in memory, and the stamps of the test producer in them. Independent of
 * zemctl, so that the tests notice mistakes in zemctl's code.
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

/* The channel of a capture's marks between records, which this code skips. */
inline constexpr std::uint8_t kMarkChannel = 255;

bool is_zero(Bytes bytes);

/* Returns the record at the start of @bytes, or nothing if it is incomplete. */
std::optional<Record> first_record(Bytes bytes);

/* The size and number of the whole records at the start of some bytes. */
struct Extent {
	std::size_t bytes = 0;
	std::size_t records = 0;
};
Extent extent_of(Bytes bytes);

std::vector<unsigned char> read_whole(const char *path);
/*
 * Returns the records and marks of a file, which may be a capture or consist of records only. The
 * first block of a capture that is incomplete or damaged, and everything after it, is returned as
 * it is.
 */
std::vector<unsigned char> records_of(Bytes file);

/* Returns nothing if the payload is too short for a stamp. */
std::optional<produce_stamp> stamp_of(const Record &record);

/* Return: whether each byte is as the producer that stamped the payload left it. */
bool is_whole(const Record &record, const produce_stamp &stamp);

/* Prints a line with each field of the header and the whole payload. */
void print_record(const Record &record);
