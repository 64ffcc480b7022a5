/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the user's terminal can show.
 */
#pragma once

#include <cstddef>

namespace zemctl {

/* Columns of the terminal at @fd; for another file $COLUMNS, or 80. */
std::size_t terminal_width(int fd);

/*
 * Does the locale speak UTF-8? Where none is set, as on a phone or in a bare guest, the terminal
 * at the other end is taken to.
 */
bool locale_is_utf8();

} // namespace zemctl
