/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The sampling window that uploads and readers share: whoever closes it consumes it. One window
 * follows the other without a gap. All times are ns of ktime_get().
 */
#pragma once

#include "kernel/api/time.h"
#include "kernel/api/types.h"

namespace zem {

struct Window {
	u64 load_wallclock; /* start of the open window */
	u64 load_start_time; /* start of the window closed last */
	u64 time_delta; /* length of the window closed last */

	/* Opens the first window. */
	void open() { load_wallclock = static_cast<u64>(ktime_get()); }

	/* Closes the window and opens the next. */
	void reset_load_start_time()
	{
		load_start_time = load_wallclock;
		open();
		time_delta = load_wallclock - load_start_time;
	}
};

} /* namespace zem */
