/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /proc/load_metrics. Context: may sleep. */
#pragma once

namespace zem {

/* Return: 0 or -ENOMEM. */
[[nodiscard]] int proc_load_metrics_init();
void proc_load_metrics_destroy();

} /* namespace zem */
