// SPDX-License-Identifier: GPL-2.0
/*
 * kmem: the block of the memory-indicator provider. Its layout is known only to the provider.
 */
#include "decode/decoder.h"

namespace zemctl {

namespace kmem {

static constexpr std::size_t kPreview = 16;

static void line(Bytes payload, TextBuffer &out)
{
	out.put("opaque block of ").number(payload.size()).put(" bytes: ");
	append_hex(out, payload, kPreview);
}

} // namespace kmem

const Decoder kKmemDecoder = {sizeof(zem_kmem), kmem::line, nullptr, nullptr};

} // namespace zemctl
