// SPDX-License-Identifier: GPL-2.0
/* The initial values of the settings, and the setting that other modules can read. */
#include "core/settings.h"

#include "linux/zem.h"

namespace zem {

constinit Relaxed<int> trace_on{1};
constinit Relaxed<int> kmemind_interval{1};
constinit Relaxed<int> kioind_interval{1};
constinit Relaxed<int> sched_interval{1};
constinit Relaxed<int> svp_interval{1};
constinit Relaxed<int> load_interval{1};
constinit Relaxed<int> cgroup_interval{0};
constinit Relaxed<int> display_interval{10};
constinit Relaxed<int> kgsl_interval{1};

} /* namespace zem */

int get_display_interval(void)
{
	return zem::display_interval.load();
}
