/* SPDX-License-Identifier: GPL-2.0 */
/* IO statistics of threads, and control blocks of single transfers. Any thread. */
#pragma once

#include <atomic>

#include "kernel/api/types.h"

struct kiocb {
	int ki_flags = 0;
};

namespace sim {

/* The flag of a write with synchronous data semantics. */
inline constexpr int kDsync = 2;

/* IO of one thread. */
struct TaskIo {
	std::atomic<u64> read_bytes{0};
	std::atomic<u64> write_bytes{0};
	std::atomic<u64> cancelled_write_bytes{0};
	std::atomic<bool> is_exiting{false};
};

/* Counts the module's queries, for tests of the cost of a walk. */
struct IoVisits {
	std::atomic<unsigned long> threads{0}; /* queries of a thread's IO */
	std::atomic<unsigned long> processes{0}; /* queries of a process's user */
};

} /* namespace sim */
