/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A record as a line of text, as a hex dump or as a JSON object.
 */
#pragma once

#include <cstdint>
#include <string>

#include "records/record.h"

namespace zemctl {

enum class Colour { kOff, kOn };

/* The line above the lines of format_line(). */
std::string format_heading();

/* One line; the time is local, the train number is shown as the wire carries it, unsigned. */
std::string format_line(const Record &record, Colour colour);

/* The decoded payload in lines that stand under the record's; none: there is no more to say. */
std::string format_full(const Record &record);

/*
 * One line with a JSON object: time_ns, time (UTC), channel, channel_id, sub_type,
 * train_number, len, then "decoded" if the payload is understood, or "decode_error" if it is not
 * what the channel carries, and the payload itself as "text" or, if it is none, as "hex".
 */
std::string format_json(const Record &record);

} // namespace zemctl
