/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A record of every kind that zemctl decodes, and some that it does not.
 */
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <linux/zem.h>

#include "decoder_fixture.h"
#include "made_records.h"

namespace zemctl {

/* A payload of numbers that are all different, with some beyond 2^53 and bytes that are no text. */
template <typename Payload>
Payload filled(std::uint8_t seed)
{
	Payload payload;
	std::uint8_t bytes[sizeof(payload)];
	for (std::size_t i = 0; i < sizeof(bytes); i++)
		bytes[i] = static_cast<std::uint8_t>(i % 8 < 2 ? seed + i : i % 24 == 7 ? 0xff : 0);
	std::memcpy(&payload, bytes, sizeof(payload));
	return payload;
}

inline ByteVector record_of_every_kind(std::uint8_t seed)
{
	return made_record(ZEM_CHANNEL_CGROUP, bytes_of(filled<zem_cgroup>(seed))) +
	       made_record(ZEM_CHANNEL_CPU, bytes_of(filled<zem_cpu>(seed))) +
	       made_record(ZEM_CHANNEL_KIO, bytes_of(filled<zem_kio>(seed))) +
	       made_record(ZEM_CHANNEL_KMEM, bytes_of(filled<zem_kmem>(seed))) +
	       made_record(ZEM_CHANNEL_KZEROD, bytes_of(filled<zem_kzerod>(seed))) +
	       made_record(ZEM_CHANNEL_LOAD, bytes_of(filled<zem_load>(seed))) +
	       made_record(ZEM_CHANNEL_SCHED, bytes_of(filled<zem_sched>(seed))) +
	       made_record(ZEM_CHANNEL_SVP, bytes_of(filled<zem_svp>(seed))) +
	       made_record(ZEM_CHANNEL_USB, bytes_of(filled<zem_usb>(seed))) +
	       made_record(ZEM_CHANNEL_SVP, "not an svp payload", UINT64_MAX) +
	       made_record(ZEM_CHANNEL_GPU, "\x01\xff") + made_record(ZEM_CHANNEL_WIFI, "text");
}

inline constexpr std::size_t kKinds = 12;

} // namespace zemctl
