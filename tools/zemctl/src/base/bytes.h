/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A view of bytes, which owns nothing.
 */
#pragma once

#include <cstddef>
#include <span>

namespace zemctl {

using Bytes = std::span<const std::byte>;

} // namespace zemctl
