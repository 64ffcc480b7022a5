// SPDX-License-Identifier: GPL-2.0
/* Groups by id, their names, and the group of a task. */
#include "cgroups.h"

#include <utility>

#include "kernel.h"
#include "kernel/api/cgroup.h"
#include "platform/contract.h"

namespace sim {

Cgroups::~Cgroups()
{
	for (const auto &[id, group] : groups_)
		delete group;
}

void Cgroups::set(int id, std::optional<std::string> name)
{
	std::lock_guard guard(lock_);
	cgroup_subsys_state *&group = groups_[id];
	if (!group)
		group = new cgroup_subsys_state;
	group->name = std::move(name);
}

void Cgroups::remove(int id)
{
	cgroup_subsys_state *removed = nullptr;
	{
		std::lock_guard guard(lock_);
		removed = std::exchange(groups_[id], nullptr);
	}
	if (removed)
		kernel_.rcu.retire([removed] { delete removed; });
}

cgroup_subsys_state *Cgroups::find(int id)
{
	std::lock_guard guard(lock_);
	const auto found = groups_.find(id);
	return found == groups_.end() ? nullptr : found->second;
}

bool Cgroups::copy_name(const cgroup_subsys_state &css, char *name, size_t size)
{
	std::lock_guard guard(lock_);
	if (css.name)
		name[css.name->copy(name, size - 1)] = '\0';
	return css.name.has_value();
}

} /* namespace sim */

using sim::Kernel;

struct cgroup_subsys_state *platform_cpu_css_from_id(int id)
{
	Kernel &kernel = Kernel::get();
	kernel.rcu.expect_reader("css_from_id");
	return kernel.cgroups.find(id);
}

bool helper_css_name(const struct cgroup_subsys_state *css, char *name, size_t size)
{
	Kernel &kernel = Kernel::get();
	kernel.rcu.expect_reader("the name of a css");
	if (sim::Scheduler::current().run_queue_locked)
		kernel.problems.add("kernfs_path_from_node under a run-queue lock");
	return kernel.cgroups.copy_name(*css, name, size);
}

int helper_task_cpu_css_id(struct task_struct *task)
{
	Kernel::get().rcu.expect_reader("the css of a task");
	return task->fields.cpu_css_id.load(std::memory_order_relaxed);
}
