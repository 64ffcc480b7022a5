/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A file of comma-separated values. The first row has the names of the columns. The code that fills
 * a row names its columns, so the same code writes the first row: names and values cannot differ.
 *
 * Values are quoted as RFC 4180 requires, if they have a comma, a quote or a line end. Rows end
 * with a line feed.
 */
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/file_descriptor.h"
#include "text/output.h"
#include "text/text_buffer.h"

namespace zemctl {

class CsvTable {
public:
	/* Creates the file, or empties it. */
	explicit CsvTable(const std::string &path);

	/* @fill writes one row or several. The names of the first one become the heading. */
	template <typename Fill>
	void write_heading(Fill fill)
	{
		part_ = Part::kNames;
		fill(*this);
		part_ = Part::kValues;
	}

	template <std::integral Number>
	CsvTable &number(std::string_view column, Number value)
	{
		if (begin_cell(column))
			row_.number(value);
		return *this;
	}
	/* Above 2^53 - 1 the cell is empty: such a difference was below zero. */
	CsvTable &count(std::string_view column, std::uint64_t value);
	CsvTable &signed_count(std::string_view column, std::int64_t value);
	/* Any bytes, escaped as the names in JSON. */
	CsvTable &name(std::string_view column, std::string_view bytes);
	/* UTF-8. */
	CsvTable &text(std::string_view column, std::string_view utf8);
	CsvTable &hex(std::string_view column, Bytes bytes);
	/* Columns with the numbers of the elements appended: counts_0, counts_1, ... */
	template <typename Numbers>
	CsvTable &counts(const std::string &column, const Numbers &values)
	{
		std::size_t index = 0;
		for (const auto value : values)
			count(column + '_' + std::to_string(index++), value);
		return *this;
	}
	void end_row();
	void flush() { output_.flush(); }

private:
	enum class Part { kNames, kNothing, kValues };

	/* Returns whether the value belongs into the row. */
	bool begin_cell(std::string_view column);
	void put_quoted(std::string_view text);

	FileDescriptor file_;
	Output output_;
	TextBuffer row_;
	TextBuffer cell_;
	Part part_ = Part::kValues;
	bool first_ = true;
};

} // namespace zemctl
