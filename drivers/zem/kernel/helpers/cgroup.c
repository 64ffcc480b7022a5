// SPDX-License-Identifier: GPL-2.0
/* Fields of the types of <linux/cgroup.h>. */
#include <linux/cgroup.h>
#include <linux/kernfs.h>
#include <linux/rcupdate.h>
#include <linux/string.h>

#include "../api/cgroup.h"

int helper_task_cpu_css_id(struct task_struct *task)
{
	struct css_set *set = rcu_dereference_raw(task->cgroups);
	struct cgroup_subsys_state *css = set ? set->subsys[cpu_cgrp_id] : NULL;

	return css ? css->id : -1;
}

/* kernfs exports only a path. Relative to the parent group it is a slash and the name. */
bool helper_css_name(const struct cgroup_subsys_state *css, char *name, size_t size)
{
	char path[64];
	struct cgroup *parent = css->cgroup ? cgroup_parent(css->cgroup) : NULL;

	if (!parent || !css->cgroup->kn || !parent->kn)
		return false;
	/* A path that does not fit is cut off or fails; either way it is no name of interest. */
	if (kernfs_path_from_node(css->cgroup->kn, parent->kn, path, sizeof(path)) < 0)
		path[0] = '\0';
	strscpy(name, path[0] == '/' ? path + 1 : path, size);
	return true;
}
