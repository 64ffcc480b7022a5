/* SPDX-License-Identifier: GPL-2.0 */
/* The system calls that the fuzzer makes on /dev/zem_shared and its mappings. */
#pragma once

#include <cstddef>

namespace fuzz {

/* The name of each call in the ledger's order; null after the last one. */
const char *device_call_name(std::size_t index);

} // namespace fuzz
