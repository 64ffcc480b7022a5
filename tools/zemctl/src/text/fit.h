/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Fits text to the columns of a terminal.
 */
#pragma once

#include <cstddef>
#include <string_view>

#include "text/text_buffer.h"

namespace zemctl {

/*
 * Returns the columns that @text takes on a terminal. The sequences that change the colour take
 * none.
 */
std::size_t columns_of(std::string_view text);

/*
 * Appends @lines. A line that is wider than @columns is cut, and ends with an ellipsis at the edge;
 * its colours end where they would have ended.
 */
void append_fitted(TextBuffer &out, std::string_view lines, std::size_t columns);

/*
 * Writes the @lines of a table to standard output. On a terminal they are cut at its edge; other
 * files have the whole lines.
 */
void write_table_to_stdout(std::string_view lines);

} // namespace zemctl
