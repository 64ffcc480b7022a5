/* SPDX-License-Identifier: GPL-2.0 */
/*
 * One record as the tool handles it: its header, copied out, and views of its bytes. The views
 * point into the memory that was walked and live as long as that memory stays as it is.
 */
#pragma once

#include <bit>
#include <cstddef>
#include <span>

#include <linux/zem.h>

namespace zemctl {

static_assert(std::endian::native == std::endian::little,
	      "records are read in place, which needs a little-endian machine");

using Bytes = std::span<const std::byte>;

struct Record {
	zem_record_header header;
	Bytes whole; /* header and payload, as they stand in the buffer */

	Bytes payload() const { return whole.subspan(ZEM_HEADER_SIZE); }
};

} // namespace zemctl
