/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Waits for the time between two readings.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace zemctl {

using Seconds = std::chrono::duration<double>;

/* Waits until @length has passed, or for SIGINT, SIGTERM or SIGHUP. Called at most once in a
 * process. */
void wait_for(Seconds length);

/* Returns @length for JSON. */
std::optional<std::uint64_t> nanoseconds_of(std::optional<Seconds> length);

} // namespace zemctl
