/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The groups of the cpu controller by their ids. Root has id 1, which is not looked up. A group
 * that was removed lives on for the RCU readers that may see it; the former name of one that was
 * renamed is freed immediately, as in a kernel, so that only a copy made under the lock is safe.
 * Any thread.
 */
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

struct cgroup_subsys_state {
	std::optional<std::string>
		name; /* none: the group has no name yet; under the lock of names */
};

namespace sim {

class Kernel;

class Cgroups {
public:
	explicit Cgroups(Kernel &kernel) : kernel_(kernel) {}
	~Cgroups();

	/* Makes a group, or gives the one with that id another name. */
	void set(int id, std::optional<std::string> name);
	void remove(int id);

	/* The kernel's side, under rcu_read_lock(). */
	[[nodiscard]] cgroup_subsys_state *find(int id);
	[[nodiscard]] bool copy_name(const cgroup_subsys_state &css, char *name, size_t size);

private:
	Kernel &kernel_;
	std::mutex lock_;
	std::map<int, cgroup_subsys_state *> groups_;
};

} /* namespace sim */
