/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Finds the word that a user probably meant.
 */
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zemctl {

/*
 * Returns the word of @known that needs the fewest insertions, deletions, replacements and swaps of
 * neighbours to become @word, the first of several. Returns nothing if even that one needs more
 * than a third of its letters, and at least one.
 */
std::optional<std::string> nearest_word(std::string_view word, std::span<const std::string> known);

} // namespace zemctl
