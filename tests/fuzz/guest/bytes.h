/* SPDX-License-Identifier: GPL-2.0 */
/* The bytes of one store: what the file understands, nearly what it understands, or noise. */
#pragma once

#include <string>
#include <string_view>

#include "random.h"

namespace fuzz {

inline constexpr std::size_t kStoreMax = 8192;

/* @path decides which words the file would accept. */
std::string make_bytes(Random &random, std::string_view path);

} // namespace fuzz
