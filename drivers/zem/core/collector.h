/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The periodic collector, thread "ts_timer_getdata_thread", and the cycle on demand.
 * Context: process; may sleep.
 * Locking: the caller serialises starting and stopping.
 */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* Call before any other function of this file. */
void collector_init();

[[nodiscard]] bool collector_is_running();

/* Return: whether the thread was created. */
[[nodiscard]] bool collector_start();

/* Waits until the thread has ended its sleep, at most two cycles, and the cycle after it. */
void collector_stop();

/* Runs one cycle in the caller's context. It has its own cycle counters. */
void common_getdata();

} /* namespace zem */
