/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats records as text.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "decode/fields.h"
#include "records/record.h"
#include "text/text.h"
#include "text/timestamp.h"

namespace zemctl {

enum class Colour { kOff, kOn };

class TextFormat {
public:
	explicit TextFormat(Colour colour, Calendar::Zone zone = Calendar::Zone::kLocal,
			    std::vector<Field> fields = fields_named({}))
		: colour_(colour), calendar_(zone), fields_(std::move(fields)),
		  shows_time_(std::ranges::count(fields_, Field::kTime) > 0)
	{
	}

	bool has_colour() const { return colour_ == Colour::kOn; }

	/*
	 * Returns what a heading says of the zone of @time, in seconds: a time needs another
	 * heading if this differs. It is always 0 without the column of the time.
	 */
	long offset(std::uint64_t time);
	/* Returns the heading of the lines of records whose zone has this @offset. */
	std::string heading(long offset) const;

	/*
	 * Returns the record as one line, valid until the next call. The train number is
	 * unsigned as in the header.
	 */
	std::string_view line(const Record &record);

private:
	/* These return the columns that they used. */
	std::size_t put_time(std::uint64_t time);
	std::size_t put_channel(std::uint8_t channel);
	std::size_t put_field(Field field, const Record &record);

	Colour colour_;
	Calendar calendar_;
	std::vector<Field> fields_;
	bool shows_time_;
	TextBuffer buffer_;
};

/* Returns the record as one line. */
std::string format_line(const Record &record, Colour colour);

/* Returns the decoded payload as indented lines, or "" if format_line() has everything. */
std::string format_full(const Record &record);

} // namespace zemctl
