/* SPDX-License-Identifier: GPL-2.0 */
/* Times in ns. */
#pragma once

#include "kernel/api/types.h"

namespace test {

inline constexpr u64 kUs = 1000;
inline constexpr u64 kMs = 1000 * kUs;

} /* namespace test */
