/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the user's terminal can show.
 */
#pragma once

#include <cstddef>

namespace zemctl {

/* The columns of the terminal at @fd. For other files $COLUMNS, or 80 without it. */
std::size_t terminal_width(int fd);

/*
 * Returns whether the locale uses UTF-8. Without a locale, as on a device or in a bare guest, the
 * terminal is assumed to show UTF-8.
 */
bool locale_is_utf8();

} // namespace zemctl
