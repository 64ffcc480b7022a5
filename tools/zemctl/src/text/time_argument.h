/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Points in time as users write them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "text/timestamp.h"

namespace zemctl {

/*
 * Returns nanoseconds since the epoch for one of
 *
 *	2026-11-22 14:05:06.5, 2026-11-22T14:05:06, 2026-11-22 14:05, 2026-11-22
 *		a date and a time in @zone; with a Z at the end in UTC
 *	14:05:06.5, 14:05
 *		a time on the day of @now in @zone
 *	@1763820306.5
 *		seconds since the epoch
 *	-90s, -15m, -2h, -1d
 *		a time before @now
 *
 * and nothing for other texts and for times before the epoch. @now is in ns since the epoch.
 */
std::optional<std::uint64_t> parse_time(const std::string &text, std::uint64_t now,
					Calendar::Zone zone);

} // namespace zemctl
