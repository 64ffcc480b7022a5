// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the cpu controller's groups by id. A stock kernel exports neither the look-up nor the
 * controller, but every task's group points to the controller, which has the table of ids.
 */
#include <linux/cgroup.h>
#include <linux/export.h>
#include <linux/idr.h>
#include <linux/rcupdate.h>
#include <linux/sched/task.h>

#include "contract.h"

struct cgroup_subsys_state *platform_cpu_css_from_id(int id)
{
	struct cgroup_subsys_state *of_any_task = task_css(&init_task, cpu_cgrp_id);

	return id > 0 ? idr_find(&of_any_task->ss->css_idr, id) : NULL;
}
EXPORT_SYMBOL_GPL(platform_cpu_css_from_id);
