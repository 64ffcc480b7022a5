/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats a record as text or as a JSON object.
 */
#pragma once

#include <cstdint>
#include <string>

#include "records/record.h"

namespace zemctl {

enum class Colour { kOff, kOn };

/* Returns the heading of the columns of format_line(). */
std::string format_heading();

/* Returns the record as one line. The time is local, the train number unsigned as in the header. */
std::string format_line(const Record &record, Colour colour);

/* Returns the decoded payload as indented lines, or "" if format_line() has everything. */
std::string format_full(const Record &record);

/*
 * Returns one line with a JSON object: time_ns, time (UTC), channel, channel_id, sub_type,
 * train_number, len, then "decoded" if the channel has a decoder, or "decode_error" if the size of
 * the payload is not that of the channel, and the payload as "text" or, if it is not text, as
 * "hex".
 */
std::string format_json(const Record &record);

} // namespace zemctl
