/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The periodic collector, thread "ts_timer_getdata_thread", and the cycle on demand. Process
 * context; may sleep. Starting and stopping is serialised by the caller.
 */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* Before anything else of this file. */
void collector_init();

[[nodiscard]] bool collector_is_running();

/* Return: whether the thread could be made. */
[[nodiscard]] bool collector_start();

/* Waits until the thread has left its sleep, at most two cycles, and the cycle after it. */
void collector_stop();

/* One cycle in the caller's context, by counters of its own. */
void common_getdata();

} /* namespace zem */
