/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The clock of records.
 */
#pragma once

#include <chrono>
#include <cstdint>

namespace zemctl {

/* Returns the present time in nanoseconds since the epoch. */
inline std::uint64_t wall_clock()
{
	const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
	return static_cast<std::uint64_t>(
		std::chrono::duration_cast<std::chrono::nanoseconds>(since_epoch).count());
}

} // namespace zemctl
