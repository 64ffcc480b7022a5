// SPDX-License-Identifier: GPL-2.0
/*
 * Writes a file of comma-separated values.
 */
#include "export/csv_table.h"

#include "base/open_file.h"
#include "text/json_writer.h"
#include "text/text.h"

namespace zemctl {

CsvTable::CsvTable(const std::string &path)
	: file_(open_file(path, kCreateFlags, 0666)), output_(file_.get(), path)
{
}

bool CsvTable::begin_cell(std::string_view column)
{
	if (part_ == Part::kNothing)
		return false;
	if (!first_)
		row_.put(',');
	first_ = false;
	if (part_ == Part::kNames)
		row_.put(column);
	return part_ == Part::kValues;
}

CsvTable &CsvTable::count(std::string_view column, std::uint64_t value)
{
	if (begin_cell(column) && value <= kJsonLargest)
		row_.number(value);
	return *this;
}

CsvTable &CsvTable::signed_count(std::string_view column, std::int64_t value)
{
	constexpr auto kLargest = static_cast<std::int64_t>(kJsonLargest);
	if (begin_cell(column) && value <= kLargest && value >= -kLargest)
		row_.number(value);
	return *this;
}

CsvTable &CsvTable::name(std::string_view column, std::string_view bytes)
{
	if (!begin_cell(column))
		return *this;
	cell_.clear();
	Bytes rest = std::as_bytes(std::span(bytes));
	while (!rest.empty()) {
		const auto character = decode_utf8(rest);
		const std::size_t size = character ? character->size : 1;
		if (!character) {
			write_hex(rest.first(1), cell_.put("\\x").room(2));
			cell_.add(2);
		} else if (character->code == '\\') {
			cell_.put("\\\\");
		} else {
			cell_.put(std::string_view(reinterpret_cast<const char *>(rest.data()),
						   size));
		}
		rest = rest.subspan(size);
	}
	put_quoted(cell_.view());
	return *this;
}

CsvTable &CsvTable::text(std::string_view column, std::string_view utf8)
{
	if (begin_cell(column))
		put_quoted(utf8);
	return *this;
}

CsvTable &CsvTable::hex(std::string_view column, Bytes bytes)
{
	if (begin_cell(column)) {
		write_hex(bytes, row_.room(2 * bytes.size()));
		row_.add(2 * bytes.size());
	}
	return *this;
}

void CsvTable::put_quoted(std::string_view text)
{
	if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
		row_.put(text);
		return;
	}
	row_.put('"');
	for (const char character : text) {
		if (character == '"')
			row_.put('"');
		row_.put(character);
	}
	row_.put('"');
}

void CsvTable::end_row()
{
	if (part_ == Part::kNothing)
		return;
	row_.put('\n');
	output_.append(row_.view());
	row_.clear();
	first_ = true;
	if (part_ == Part::kNames)
		part_ = Part::kNothing;
}

} // namespace zemctl
