/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What zemctl does with bytes that nobody vouches for, as functions of those bytes. libFuzzer calls
 * them with inputs of its own (`make fuzz`), zemctl's tests with the inputs of tests/fuzz/corpus.
 * Each ends the process with a message when a promise is broken.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zemctl::fuzz {

using Input = std::span<const std::uint8_t>;

/* A capture file, read and shown as dump does. */
void run_capture(Input input);
/* A reading session. The input says what the shared buffer holds and when, and what the kernel
 * answers. */
void run_live(Input input);
/* One record, header and payload, in every form. */
void run_record(Input input);
/* The text of one of the kernel's views; the first byte says which. */
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

/* Ends the process when @holds is not so. */
void require(bool holds, const char *promise);

} // namespace zemctl::fuzz
