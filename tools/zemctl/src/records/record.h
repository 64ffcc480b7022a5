/* SPDX-License-Identifier: GPL-2.0 */
/*
 * One record as the tool handles it: a copy of its header and views of its bytes. The views point
 * into the memory that was walked, and are valid only while that memory does not change.
 */
#pragma once

#include <bit>

#include <linux/zem.h>

#include "base/bytes.h"

namespace zemctl {

static_assert(std::endian::native == std::endian::little,
	      "records are read in place, which needs a little-endian machine");

struct Record {
	zem_record_header header;
	Bytes whole; /* header and payload, as in the buffer */

	Bytes payload() const { return whole.subspan(ZEM_HEADER_SIZE); }
};

} // namespace zemctl
