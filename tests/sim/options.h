/* SPDX-License-Identifier: GPL-2.0 */
/* The initial state of a simulated machine. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace sim {

enum class Mode {
	kCooperative, /* one thread runs at a time, until it blocks */
	kFreeRunning, /* real concurrency, for ThreadSanitizer */
};

inline constexpr unsigned long kHz = 250;
inline constexpr uint64_t kNanosecondsPerJiffy = 1'000'000'000 / kHz;
inline constexpr size_t kPageSize = 4096;

struct Options {
	Mode mode = Mode::kCooperative;
	unsigned int cpus = 8; /* lower ids are possible, and online at start */
	/* The kernel's jiffies start five minutes before their low 32 bits wrap. */
	unsigned long initial_jiffies = static_cast<unsigned int>(-300 * static_cast<int>(kHz));
	int64_t realtime_ns = 1'700'000'000'123'456'789;
	int64_t monotonic_ns = 300'000'000'007;
	size_t sub_buffer_size = kPageSize; /* of the ring buffer */
	std::set<unsigned int> absent_cpus{}; /* ids below @cpus that are not possible */
	size_t first_seq_buffer = kPageSize; /* initial buffer of a file being read */
	size_t most_seq_buffer = 0x7ffff000; /* a larger buffer is refused, as by kvmalloc() */
	bool vendor_hooks_stay_attached = false;
};

} /* namespace sim */
