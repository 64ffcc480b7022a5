// SPDX-License-Identifier: GPL-2.0
/* The initial values of the settings, and the setting that other modules can read. */
#include "core/settings.h"

#include "linux/zem.h"

namespace zem {

constinit Relaxed<int> trace_on{1};

#define ZEM_DEFINE_INTERVAL(name, after_load, form) constinit Relaxed<int> name((after_load));
ZEM_INTERVALS(ZEM_DEFINE_INTERVAL)

} /* namespace zem */

int get_display_interval(void)
{
	return zem::display_interval.load();
}
