/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Channel ids and their names, generated from the table of the wire format.
 */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <linux/zem.h>

namespace zemctl {

#define ZEMCTL_CHANNEL_NAME(symbol, name) #name,
inline constexpr std::array<std::string_view, ZEM_CHANNEL_COUNT> kChannelNames = {
	ZEM_CHANNELS(ZEMCTL_CHANNEL_NAME)};
#undef ZEMCTL_CHANNEL_NAME

/* @id is below ZEM_CHANNEL_COUNT, as in every record that a Walk returns. */
constexpr std::string_view channel_name(std::uint8_t id)
{
	return kChannelNames[id];
}

std::optional<std::uint8_t> channel_by_name(std::string_view name);

/* Channels that a user selects: one bit for each, or 0 for all. */
using ChannelSet = std::uint32_t;

static_assert(ZEM_CHANNEL_COUNT <= 32);

/* The names must exist. */
ChannelSet channel_set(std::span<const std::string> names);

constexpr bool contains(ChannelSet channels, std::uint8_t id)
{
	return channels == 0 || (channels >> id & 1) != 0;
}

} // namespace zemctl
