/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Kobjects and sysfs, with a user's operations on files: read, write, poll. Paths are relative to
 * /sys. Any thread. Each read and write opens the file separately, so they may overlap.
 */
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "gate.h"
#include "kernel/api/sysfs.h"

namespace sim {

/* The simulation's content of a kobj_attribute. The module only uses pointers to it. */
struct Attribute {
	const char *name;
	umode_t mode;
	decltype(attribute_row::show) show;
	decltype(attribute_row::store) store;
};

struct SysfsFile {
	explicit SysfsFile(Kernel &kernel, const Attribute &attribute_)
		: attribute(attribute_), activity(kernel), notification(kernel)
	{
	}

	const Attribute attribute;
	kobj_attribute *module_attribute = nullptr;
	Gate activity;
	unsigned int calls = 0; /* number of running show and store calls */
	bool removed = false;
	Gate notification;
	unsigned long notifications = 0;
};

} /* namespace sim */

struct kobject {
	std::string path;
	int references = 1;
	kobject *parent = nullptr;
	const attribute_group *group = nullptr;
	std::vector<std::shared_ptr<sim::SysfsFile>> files; /* in the order of the group */
};

namespace sim {

/* The result of a read() of a whole file. */
struct ReadResult {
	ssize_t result; /* bytes or a negative error code */
	std::string data;
};

/* An open file that is polled. Notifications before the open do not count. */
class Poller {
public:
	explicit Poller(std::shared_ptr<SysfsFile> file);

	/* Blocks until a notification since the last wait. Return: false on time-out. */
	bool wait(std::optional<Ticks> jiffies = {});

private:
	std::shared_ptr<SysfsFile> file_;
	unsigned long seen_;
};

class Sysfs {
public:
	explicit Sysfs(Kernel &kernel) : kernel_(kernel) { module_.path = "module/zem"; }

	/* The user's side. -ENOENT if the file does not exist. */
	[[nodiscard]] ReadResult read(const std::string &path);
	ssize_t write(const std::string &path, std::string_view text);
	[[nodiscard]] Poller poll(const std::string &path);
	[[nodiscard]] unsigned long notifications(const std::string &path);
	[[nodiscard]] bool exists(const std::string &path);
	/* Names and modes, in the order of creation. */
	[[nodiscard]] std::vector<std::pair<std::string, unsigned int>>
	list(const std::string &directory);

	/* The kernel's side. */
	[[nodiscard]] kobject *create(const std::string &name, kobject *parent);
	void put(kobject *kobj);
	[[nodiscard]] int create_group(kobject *kobj, const attribute_group *group);
	void remove_group(kobject *kobj, const attribute_group *group);
	void notify(kobject *kobj, const std::string &name);

	/* Makes the creation of a group fail with ENOMEM after all its files were visible. */
	void fail_after_visible(std::function<void()> meanwhile);

	/* Returns /sys/module/zem, which exists from before the module's init until after its exit.
	 */
	[[nodiscard]] kobject *module_directory();

	/* Paths of directories that exist. */
	[[nodiscard]] std::vector<std::string> directories();
	/* Removes what cannot be used after the module's code is freed. */
	void clear();

private:
	[[nodiscard]] std::shared_ptr<SysfsFile> find(const std::string &path, kobject **kobj);
	[[nodiscard]] bool add_files(kobject &kobj, Attribute *const *list);

	Kernel &kernel_;
	std::mutex lock_;
	std::map<std::string, std::unique_ptr<kobject>> kobjects_; /* by path */
	std::function<void()> before_failure_;
	kobject module_;
};

} /* namespace sim */
