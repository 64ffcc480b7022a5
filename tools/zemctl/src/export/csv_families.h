/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The files of an export as comma-separated values, and the columns of each. docs/export.md lists
 * them.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "export/csv_table.h"
#include "records/record.h"

namespace zemctl {

/* The columns that the rows of all files start with. */
struct CsvPrefix {
	std::uint64_t record; /* the number of the record in the export, from 1 */
	const zem_record_header &header;
	std::string_view time; /* "2026-11-21T00:30:18.123456789Z" */
};

struct CsvFamily {
	std::string_view file; /* without ".csv" */
	zem_channel channel;
	std::size_t size; /* of the payload */
	/* Writes the rows of one record. */
	void (*rows)(CsvTable &table, const CsvPrefix &prefix, Bytes payload);
};

std::span<const CsvFamily> csv_families();

/* Begins a row. */
CsvTable &put_prefix(CsvTable &table, const CsvPrefix &prefix);

} // namespace zemctl
