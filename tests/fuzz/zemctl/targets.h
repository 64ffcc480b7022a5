/* SPDX-License-Identifier: GPL-2.0 */
/*
 * zemctl's handling of untrusted bytes, as functions of those bytes. libFuzzer calls them with
 * inputs of its own (`make fuzz`), and zemctl's tests with those of tests/fuzz/corpus. Each
 * function ends the process with a message if a check fails.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zemctl::fuzz {

using Input = std::span<const std::uint8_t>;

/* Reads a capture file and shows it as dump does. */
void run_capture(Input input);
/* Runs a reading session. The input controls the shared buffer over time, and the kernel's answers.
 */
void run_live(Input input);
/* Shows one record, header and payload, in every format. */
void run_record(Input input);
/* Parses the text of one of the kernel's views, which the first byte selects. */
void run_view(Input input);

struct Target {
	std::string_view name; /* and the folder of its corpus */
	void (*run)(Input input);
};

inline constexpr Target kTargets[] = {
	{"capture", run_capture},
	{"live", run_live},
	{"record", run_record},
	{"view", run_view},
};

/* Ends the process if @holds is false. */
void require(bool holds, const char *promise);

} // namespace zemctl::fuzz
