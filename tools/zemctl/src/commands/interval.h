/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The time between two readings that are compared.
 */
#pragma once

#include <chrono>

namespace zemctl {

using Seconds = std::chrono::duration<double>;

/* SIGINT or SIGTERM ends the wait early. Once per process. */
void wait_for(Seconds length);

} // namespace zemctl
