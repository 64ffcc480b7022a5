// SPDX-License-Identifier: GPL-2.0
/*
 * Removes the directories that zem leaves in /proc when it is unloaded. A device never unloads zem,
 * but here it can be loaded again. The code behind the files in them is gone.
 */
#include <linux/kernel.h>
#include <linux/proc_fs.h>

#include "parts.h"

static const char *const directories[] = {
	"svp_metrics",	  "sched_metrics", "load_metrics", "morva_sched_healthinfo",
	"cgroup_metrics", "zem_procstat",
};

void leftovers_remove(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(directories); i++)
		remove_proc_subtree(directories[i], NULL);
}
