/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Channel ids and their names, from the one table of the wire format.
 */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include <linux/zem.h>

namespace zemctl {

#define ZEMCTL_CHANNEL_NAME(symbol, name) #name,
inline constexpr std::array<std::string_view, ZEM_CHANNEL_COUNT> kChannelNames = {
	ZEM_CHANNELS(ZEMCTL_CHANNEL_NAME)};
#undef ZEMCTL_CHANNEL_NAME

/* @id must be below ZEM_CHANNEL_COUNT, as it is in every record that a walk has passed. */
constexpr std::string_view channel_name(std::uint8_t id)
{
	return kChannelNames[id];
}

std::optional<std::uint8_t> channel_by_name(std::string_view name);

} // namespace zemctl
