// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the word that a user probably meant, by the distance of Damerau and Levenshtein.
 */
#include "text/nearest.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace zemctl {

namespace {

/* Each row holds the distances of a prefix of @from to all prefixes of @to. */
std::size_t distance(std::string_view from, std::string_view to)
{
	std::vector<std::size_t> older(to.size() + 1), old(to.size() + 1), row(to.size() + 1);
	for (std::size_t column = 0; column < row.size(); column++)
		row[column] = column;
	for (std::size_t i = 1; i <= from.size(); i++) {
		std::swap(older, old);
		std::swap(old, row);
		row[0] = i;
		for (std::size_t j = 1; j <= to.size(); j++) {
			const bool same = from[i - 1] == to[j - 1];
			row[j] =
				std::min({old[j] + 1, row[j - 1] + 1, old[j - 1] + (same ? 0 : 1)});
			const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] &&
					     from[i - 2] == to[j - 1];
			if (swapped)
				row[j] = std::min(row[j], older[j - 2] + 1);
		}
	}
	return row.back();
}

} // namespace

std::optional<std::string> nearest_word(std::string_view word, std::span<const std::string> known)
{
	std::optional<std::string> nearest;
	std::size_t least = 0;
	for (const std::string &candidate : known) {
		const std::size_t changes = distance(word, candidate);
		if (changes > std::max<std::size_t>(1, candidate.size() / 3))
			continue;
		if (!nearest || changes < least) {
			nearest = candidate;
			least = changes;
		}
	}
	return nearest;
}

} // namespace zemctl
