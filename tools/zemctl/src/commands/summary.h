/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What was read, in a few lines for standard error.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "kernel/kernel_loss.h"
#include "kernel/reader.h"

namespace zemctl {

/*
 * "1234 records, 56789 bytes, 0 lost, 0 gaps in 20.0 s", hand-backs and notifications, a line a
 * channel. @kept: records shown or written, said only where that is not all of them. @loss: what
 * the kernel counted meanwhile.
 */
std::string format_summary(const Counters &counters, std::uint64_t kept,
			   std::chrono::nanoseconds elapsed, const LossMeter &loss);

} // namespace zemctl
