/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Summarises a session in a few lines for standard error.
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
 * Returns "1234 records, 56789 bytes, 0 lost, 0 gaps in 20.0 s", the hand-backs and notifications,
 * the losses that the kernel counted (@loss), and one line for each channel. The number of records
 * shown or written (@kept) is added if records were left out.
 */
std::string format_summary(const Counters &counters, std::uint64_t kept,
			   std::chrono::nanoseconds elapsed, const LossMeter &loss);

} // namespace zemctl
