/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /proc/svp_metrics. Context: may sleep. */
#pragma once

namespace zem {

/* Return: 0 or -ENOMEM. */
[[nodiscard]] int proc_svp_metrics_init();
void proc_svp_metrics_destroy();

} /* namespace zem */
