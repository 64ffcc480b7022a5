/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Renders pages of the manual.
 */
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "manual/page.h"

namespace zemctl {

inline constexpr std::size_t kTextColumns = 80;

/* Returns @blocks as lines of text. */
std::string text_of(std::span<const Block> blocks, std::size_t columns = kTextColumns);

/* Returns @page as the source of a manual page of section 1, for man and mandoc. */
std::string roff_of(const Page &page);

} // namespace zemctl
