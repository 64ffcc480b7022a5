/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats points in time, which are nanoseconds since the epoch.
 */
#pragma once

#include <cstdint>
#include <string>

namespace zemctl {

/* "2026-11-21 00:30:18.123456", local time. */
std::string format_local_time(std::uint64_t nanoseconds);
/* "2026-11-21T00:30:18.123456789Z" */
std::string format_utc_time(std::uint64_t nanoseconds);

} // namespace zemctl
