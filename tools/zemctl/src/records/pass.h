/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The passes of the collector. The records of one pass arrive together, and passes are five seconds
 * or more apart.
 */
#pragma once

#include <cstdint>

namespace zemctl {

inline constexpr std::uint64_t kPassTime = 2'000'000'000; /* ns */

/*
 * Returns whether a record of @time is of another pass than the record of @begin, with which a pass
 * began. Clocks may be set back: the difference then wraps to far more than any span.
 */
constexpr bool is_of_other_pass(std::uint64_t time, std::uint64_t begin,
				std::uint64_t span = kPassTime)
{
	return time - begin > span;
}

} // namespace zemctl
