/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The sampling window that uploads and readers share: whoever closes it consumes it. All times are
 * ns of ktime_get(). Under load_lock, which guards the figures taken from a window too.
 */
#pragma once

#include "kernel/lock.h"

namespace zem {

/* Process context. */
extern SpinLock load_lock;

extern u64 load_wallclock; /* start of the window that is open */
extern u64 load_start_time; /* start of the window closed last */
extern u64 time_delta; /* length of the window closed last */

/* Before anything else of this file; opens the first window. */
void load_window_init();

/* Closes the window and opens the next. Return: the new load_wallclock. */
u64 reset_load_start_time();

/* Return: time_delta. Takes load_lock. */
[[nodiscard]] u64 closed_window();

} /* namespace zem */
