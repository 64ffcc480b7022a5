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

/* What became of the records of a session. */
struct Kept {
	std::uint64_t records; /* shown or written */
	std::uint64_t left_out; /* as asked */
	std::uint64_t dropped; /* because the output was too slow */
};

/*
 * Returns "1234 records, 56789 bytes, 0 lost, 0 gaps in 20.0 s", the hand-backs and notifications,
 * the losses that the kernel counted (@loss), and one line for each channel. @kept is added if it
 * is not all records.
 */
std::string format_summary(const Counters &counters, const Kept &kept,
			   std::chrono::nanoseconds elapsed, const LossMeter &loss);

} // namespace zemctl
