// SPDX-License-Identifier: GPL-2.0
/* The initial values of the settings, and the setting that other modules can read. */
#include "core/settings.h"

#include "linux/zem.h"

namespace zem {

constinit Relaxed<int> trace_on{1};

namespace {

#define ZEM_INTERVAL_AFTER_LOAD(name, after_load, form) after_load,
constinit Relaxed<int> intervals[] = {0, ZEM_INTERVALS(ZEM_INTERVAL_AFTER_LOAD)};

} /* namespace */

int interval_of(Interval interval)
{
	return intervals[static_cast<size_t>(interval)].load();
}

void set_interval(Interval interval, int value)
{
	intervals[static_cast<size_t>(interval)].store(value);
}

} /* namespace zem */

int get_display_interval(void)
{
	return zem::interval_of(zem::Interval::display_interval);
}
