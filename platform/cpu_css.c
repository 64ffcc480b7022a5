// SPDX-License-Identifier: GPL-2.0
/*
 * The cpu controller's groups by id. A stock kernel keeps the look-up and the controller to itself,
 * but every task's group leads to the controller, and that to its table of ids.
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
