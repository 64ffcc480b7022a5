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

ChannelSet channel_set(std::span<const std::string> names)
{
	ChannelSet channels = 0;
	for (const std::string &name : names)
		channels |= ChannelSet{1} << channel_by_name(name).value();
	return channels;
}

} // namespace zemctl
