/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The sampling window that uploads and readers share. Closing it consumes it. Windows follow each
 * other without a gap. All times are ns of ktime_get().
 */
#pragma once

#include "kernel/api/time.h"
#include "kernel/api/types.h"

namespace zem {

struct Window {
	u64 load_wallclock; /* start of the open window */
	u64 load_start_time; /* start of the last closed window */
	u64 time_delta; /* length of the last closed window */

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
