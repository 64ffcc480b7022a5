/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /proc/sched_metrics. Context: may sleep. */
#pragma once

namespace zem {

/* Return: 0 or -ENOMEM. */
[[nodiscard]] int proc_sched_metrics_init();
void proc_sched_metrics_destroy();

} /* namespace zem */
