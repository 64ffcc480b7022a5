// SPDX-License-Identifier: GPL-2.0
/*
 * zem leaves its directories in /proc when it is unloaded, with switches in them whose code is
 * gone. A device never unloads it; here it is to be loaded again.
 */
#include <linux/kernel.h>
#include <linux/proc_fs.h>

#include "platform.h"

static const char *const directories[] = {
	"svp_metrics",	  "sched_metrics", "load_metrics", "morva_sched_healthinfo",
	"cgroup_metrics", "zem_procstat",
};

void leftovers_remove(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(directories); i++)
		remove_proc_subtree(directories[i], NULL);
}
