// SPDX-License-Identifier: GPL-2.0
/*
 * kmem: the block of the memory-indicator provider. Its layout is known only to the provider.
 */
#include "decode/decoder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "text/text.h"

namespace zemctl {

namespace kmem {

static constexpr std::size_t kPreview = 16;

static std::string line(Bytes payload)
{
	return fmt::format("opaque block of {} bytes: {}", payload.size(),
			   hex_preview(payload, kPreview));
}

static nlohmann::ordered_json json(Bytes payload)
{
	return {{"opaque_bytes", payload.size()}};
}

} // namespace kmem

const Decoder kKmemDecoder = {sizeof(zem_kmem), kmem::line, nullptr, kmem::json};

} // namespace zemctl
