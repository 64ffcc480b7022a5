/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats values for narrow columns.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zemctl {

/* Returns @text, cut or filled with blanks, so that it takes @columns. */
std::string fitted(std::string_view text, std::size_t columns);

/* Returns "0", "12.3us", "1.23ms" or "123s". At most six characters below a million seconds. */
std::string duration_text(std::uint64_t nanoseconds);
/* Returns "-" for nothing, and for a difference that has wrapped. */
std::string duration_text(std::optional<std::uint64_t> nanoseconds);

/* Returns "0B", "999B", "1.20kB" or "123MB". At most six characters below 1000 TB. */
std::string size_text(double bytes);

/* Returns @usage as "12.3" percent of the full capacity. */
std::string capacity_text(std::uint64_t usage);

} // namespace zemctl
