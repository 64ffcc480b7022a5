/* SPDX-License-Identifier: GPL-2.0 */
/* The bytes of one store: input that the file accepts, input close to it, or noise. */
#pragma once

#include <string>
#include <string_view>

#include "random.h"

namespace fuzz {

inline constexpr std::size_t kStoreMax = 8192;

/* @path selects the text that the file would accept. */
std::string make_bytes(Random &random, std::string_view path);

} // namespace fuzz
