/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /proc/morva_sched_healthinfo. Context: may sleep. */
#pragma once

namespace zem {

/* Return: 0, or -ENOENT with no file left. */
int sched_healthinfo_procfs_init();
void sched_healthinfo_procfs_exit();

} /* namespace zem */
