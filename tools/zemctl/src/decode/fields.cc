// SPDX-License-Identifier: GPL-2.0
/*
 * The columns that a record can be shown in.
 */
#include "decode/fields.h"

#include <algorithm>
#include <iterator>

namespace zemctl {

std::vector<Field> fields_named(std::span<const std::string> names)
{
	if (names.empty())
		return {kUsualFields.begin(), kUsualFields.end()};
	std::vector<Field> fields;
	for (const std::string &name : names) {
		const auto row = std::ranges::find(kFieldRows, name, &FieldRow::name);
		fields.push_back(static_cast<Field>(std::distance(kFieldRows.begin(), row)));
	}
	return fields;
}

} // namespace zemctl
