/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Splits lines of left-aligned columns, as printed by "%-16lu%-16lu".
 */
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace zemctl {

/*
 * Returns the numbers of @line, whose columns have @widths. A number that fills its column touches
 * the next number. Returns nothing if the line can be read in no way or in several ways.
 */
std::vector<std::string_view> split_columns(std::string_view line,
					    std::span<const std::size_t> widths);

} // namespace zemctl
