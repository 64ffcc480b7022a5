// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the decoder of a channel.
 */
#include "decode/decoder.h"

#include <array>

#include <fmt/format.h>

namespace zemctl {

namespace {

struct Row {
	zem_channel channel;
	const Decoder *decoder;
};

constexpr std::array kTable = {
	Row{ZEM_CHANNEL_CGROUP, &kCgroupDecoder}, Row{ZEM_CHANNEL_CPU, &kCpuDecoder},
	Row{ZEM_CHANNEL_KIO, &kKioDecoder},	  Row{ZEM_CHANNEL_KMEM, &kKmemDecoder},
	Row{ZEM_CHANNEL_KZEROD, &kKzerodDecoder}, Row{ZEM_CHANNEL_LOAD, &kLoadDecoder},
	Row{ZEM_CHANNEL_SCHED, &kSchedDecoder},	  Row{ZEM_CHANNEL_SVP, &kSvpDecoder},
	Row{ZEM_CHANNEL_USB, &kUsbDecoder},
};

} // namespace

const Decoder *find_decoder(std::uint8_t channel)
{
	for (const Row &row : kTable) {
		if (row.channel == channel)
			return row.decoder;
	}
	return nullptr;
}

std::string unusual_size(const Decoder &decoder)
{
	return fmt::format("not the usual {} bytes", decoder.size);
}

} // namespace zemctl
