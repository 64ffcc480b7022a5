// SPDX-License-Identifier: GPL-2.0
/* Groups by id, their names, and which group a task is in. */
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

void Cgroups::replace(int id, cgroup_subsys_state *by)
{
	cgroup_subsys_state *before = nullptr;
	{
		std::lock_guard guard(lock_);
		before = std::exchange(groups_[id], by);
	}
	if (before)
		kernel_.rcu.retire([before] { delete before; });
}

void Cgroups::set(int id, std::optional<std::string> name)
{
	replace(id, new cgroup_subsys_state{std::move(name)});
}

void Cgroups::remove(int id)
{
	replace(id, nullptr);
}

cgroup_subsys_state *Cgroups::find(int id)
{
	std::lock_guard guard(lock_);
	const auto found = groups_.find(id);
	return found == groups_.end() ? nullptr : found->second;
}

} /* namespace sim */

using sim::Kernel;

struct cgroup_subsys_state *platform_cpu_css_from_id(int id)
{
	Kernel &kernel = Kernel::get();
	kernel.rcu.expect_reader("css_from_id");
	return kernel.cgroups.find(id);
}

const char *helper_css_name(const struct cgroup_subsys_state *css)
{
	Kernel::get().rcu.expect_reader("the name of a css");
	return css->name ? css->name->c_str() : nullptr;
}

int helper_task_cpu_css_id(struct task_struct *task)
{
	Kernel::get().rcu.expect_reader("the css of a task");
	return task->fields.cpu_css_id.load(std::memory_order_relaxed);
}
