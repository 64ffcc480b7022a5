/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads what a capture's marks have about one moment: the clocks and the module's counters.
 */
#pragma once

#include <string>

#include "records/capture_writer.h"

namespace zemctl {

ClockReading read_clocks();

/* Reads the files in @directory. Counters of an older module that lacks them are unknown. */
ModuleCounters read_module_counters(const std::string &directory);

inline Moment read_moment(const std::string &directory)
{
	return {read_clocks(), read_module_counters(directory)};
}

} // namespace zemctl
