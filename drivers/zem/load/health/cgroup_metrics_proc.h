/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /proc/cgroup_metrics. Context: may sleep. */
#pragma once

namespace zem {

void proc_cgroup_metrics_init();
void proc_cgroup_metrics_destroy();

} /* namespace zem */
