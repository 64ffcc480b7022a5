/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Waits for the time between two readings.
 */
#pragma once

#include <chrono>

namespace zemctl {

using Seconds = std::chrono::duration<double>;

/* Waits until @length has passed, or for SIGINT or SIGTERM. Called at most once in a process. */
void wait_for(Seconds length);

} // namespace zemctl
