/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The groups of the cpu controller by id. The root group has id 1, which is not looked up. A
 * removed group lives on for RCU readers. The former name of a renamed group is freed immediately,
 * as in the kernel, so only a copy made under the lock is safe. Any thread.
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

	/* Creates a group, or renames the group with that id. */
	void set(int id, std::optional<std::string> name);
	void remove(int id);

	/* For the kernel's functions. Context: RCU reader. */
	[[nodiscard]] cgroup_subsys_state *find(int id);
	[[nodiscard]] bool copy_name(const cgroup_subsys_state &css, char *name, size_t size);

private:
	Kernel &kernel_;
	std::mutex lock_;
	std::map<int, cgroup_subsys_state *> groups_;
};

} /* namespace sim */
