/* SPDX-License-Identifier: GPL-2.0 */
/* What threads have read and written, and control blocks of single transfers. Any thread. */
#pragma once

#include <atomic>

#include "kernel/api/types.h"

struct kiocb {
	bool is_dsync = false;
};

namespace sim {

/* Of one thread. */
struct TaskIo {
	std::atomic<u64> read_bytes{0};
	std::atomic<u64> write_bytes{0};
	std::atomic<u64> cancelled_write_bytes{0};
	std::atomic<u64> rchar{0};
	std::atomic<u64> wchar{0};
	std::atomic<u64> fsync{0};
	std::atomic<bool> is_exiting{false};
};

/* How often somebody has asked, for tests of what a walk costs. */
struct IoVisits {
	std::atomic<unsigned long> threads{0}; /* asked for what they have done */
	std::atomic<unsigned long> processes{0}; /* asked for their user */
};

} /* namespace sim */
