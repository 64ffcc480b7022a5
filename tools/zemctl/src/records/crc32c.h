/* SPDX-License-Identifier: GPL-2.0 */
/*
 * CRC-32C, the checksum of capture files.
 */
#pragma once

#include <cstdint>

#include "base/bytes.h"

namespace zemctl {

/*
 * Returns the CRC-32C of @bytes: polynomial 0x1edc6f41, reflected, initial value and final
 * exclusive or ~0. The CRC of "123456789" is 0xe3069283. @before is the CRC of the bytes that
 * precede @bytes.
 */
std::uint32_t crc32c(Bytes bytes, std::uint32_t before = 0);

/* The same without the CPU's instruction. */
std::uint32_t crc32c_by_tables(Bytes bytes, std::uint32_t before = 0);

} // namespace zemctl
