/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats records as text.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "records/record.h"
#include "text/text.h"
#include "text/timestamp.h"

namespace zemctl {

enum class Colour { kOff, kOn };

/* Returns the heading of the columns of TextFormat::line(). */
std::string format_heading();

class TextFormat {
public:
	explicit TextFormat(Colour colour, Calendar::Zone zone = Calendar::Zone::kLocal)
		: colour_(colour), calendar_(zone)
	{
	}

	bool has_colour() const { return colour_ == Colour::kOn; }

	/*
	 * Returns the record as one line, valid until the next call. The train number is
	 * unsigned as in the header.
	 */
	std::string_view line(const Record &record);

private:
	Colour colour_;
	Calendar calendar_;
	TextBuffer buffer_;
};

/* Returns the record as one line. */
std::string format_line(const Record &record, Colour colour);

/* Returns the decoded payload as indented lines, or "" if format_line() has everything. */
std::string format_full(const Record &record);

} // namespace zemctl
