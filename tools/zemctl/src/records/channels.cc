// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the id of a channel by its name.
 */
#include "records/channels.h"

#include <algorithm>

namespace zemctl {

std::optional<std::uint8_t> channel_by_name(std::string_view name)
{
	const auto found = std::ranges::find(kChannelNames, name);
	if (found == kChannelNames.end())
		return std::nullopt;
	return static_cast<std::uint8_t>(found - kChannelNames.begin());
}

} // namespace zemctl
