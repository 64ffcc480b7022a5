/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Numbers printed to the left of columns, as "%-16lu%-16lu" does.
 */
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace zemctl {

/*
 * The numbers of @line, whose columns have these widths; one that fills its column touches the
 * next. None where the line can be read in no way, or in more than one.
 */
std::vector<std::string_view> split_columns(std::string_view line,
					    std::span<const std::size_t> widths);

} // namespace zemctl
