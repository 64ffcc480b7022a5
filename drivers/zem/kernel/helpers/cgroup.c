// SPDX-License-Identifier: GPL-2.0
/* Fields of the types of <linux/cgroup.h>. */
#include <linux/cgroup.h>
#include <linux/rcupdate.h>

#include "../api/cgroup.h"

int helper_task_cpu_css_id(struct task_struct *task)
{
	struct css_set *set = rcu_dereference_raw(task->cgroups);
	struct cgroup_subsys_state *css = set ? set->subsys[cpu_cgrp_id] : NULL;

	return css ? css->id : -1;
}

const char *helper_css_name(const struct cgroup_subsys_state *css)
{
	return css->cgroup && css->cgroup->kn ? css->cgroup->kn->name : NULL;
}
