/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The text files below /proc about the waiting of groups of tasks.
 */
#pragma once

#include <string_view>

#include <linux/zem.h>

namespace zemctl {

/*
 * The text of /proc/cgroup_metrics/cgroup_metrics, and that of the sums at the end of
 * /proc/morva_sched_healthinfo/sched_healthinfo. They throw a Failure that says what is wrong.
 */
zem_cgroup parse_health_interval(std::string_view text);
zem_cgroup parse_health_sums(std::string_view text);

} // namespace zemctl
