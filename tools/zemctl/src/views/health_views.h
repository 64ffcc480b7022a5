/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Parses the text files below /proc with the waiting times of groups of tasks.
 */
#pragma once

#include <string_view>

#include <linux/zem.h>

namespace zemctl {

/*
 * Parse the text of /proc/cgroup_metrics/cgroup_metrics, and the sums at the end of
 * /proc/morva_sched_healthinfo/sched_healthinfo. Throw a Failure if the text has another form.
 */
zem_cgroup parse_health_interval(std::string_view text);
zem_cgroup parse_health_sums(std::string_view text);

} // namespace zemctl
