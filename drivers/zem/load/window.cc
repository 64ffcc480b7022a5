// SPDX-License-Identifier: GPL-2.0
/* One window after the other, without a gap. */
#include "load/window.h"

#include "kernel/api/time.h"

namespace zem {

constinit SpinLock load_lock;

constinit u64 load_wallclock = 0;
constinit u64 load_start_time = 0;
constinit u64 time_delta = 0;

void load_window_init()
{
	load_lock.init("zem_load_lock");
	load_wallclock = static_cast<u64>(ktime_get());
}

u64 reset_load_start_time()
{
	load_start_time = load_wallclock;
	load_wallclock = static_cast<u64>(ktime_get());
	time_delta = load_wallclock - load_start_time;
	return load_wallclock;
}

u64 closed_window()
{
	LockGuard guard(load_lock);
	return time_delta;
}

} /* namespace zem */
