/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Kobjects and sysfs, with what a user does to its files: read, write, poll. Paths are relative
 * to /sys. Any thread; each read and write is an open file of its own, so they may overlap.
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

/* What a kobj_attribute holds here; the module only ever points to it. */
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
	unsigned int calls = 0; /* in show or store now */
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

/* An open file that is polled: it begins with what has been notified so far. */
class Poller {
public:
	explicit Poller(std::shared_ptr<SysfsFile> file);

	/* Blocks until there was a notification since the last wait. Return: false on time-out. */
	bool wait(std::optional<Ticks> jiffies = {});

private:
	std::shared_ptr<SysfsFile> file_;
	unsigned long seen_;
};

class Sysfs {
public:
	explicit Sysfs(Kernel &kernel) : kernel_(kernel) { module_.path = "module/zem"; }

	/* As a user: -ENOENT without such a file. */
	[[nodiscard]] ReadResult read(const std::string &path);
	ssize_t write(const std::string &path, std::string_view text);
	[[nodiscard]] Poller poll(const std::string &path);
	[[nodiscard]] unsigned long notifications(const std::string &path);
	[[nodiscard]] bool exists(const std::string &path);
	/* Names and modes, in the order of creation. */
	[[nodiscard]] std::vector<std::pair<std::string, unsigned int>>
	list(const std::string &directory);

	/* As the kernel. */
	[[nodiscard]] kobject *create(const std::string &name, kobject *parent);
	void put(kobject *kobj);
	[[nodiscard]] int create_group(kobject *kobj, const attribute_group *group);
	void remove_group(kobject *kobj, const attribute_group *group);
	void notify(kobject *kobj, const std::string &name);

	/* The group that is being created fails with ENOMEM when all its files have been there. */
	void fail_after_visible(std::function<void()> meanwhile);

	/* /sys/module/zem, which the kernel creates before a module's init and removes after its
	 * exit. */
	[[nodiscard]] kobject *module_directory();

	/* Paths of directories that exist. */
	[[nodiscard]] std::vector<std::string> directories();
	/* What nobody could go on using after the code of a module is gone. */
	void clear();

private:
	class ActiveCall;

	[[nodiscard]] std::shared_ptr<SysfsFile> find(const std::string &path, kobject **kobj);
	[[nodiscard]] bool add_files(kobject &kobj, Attribute *const *list);

	Kernel &kernel_;
	std::mutex lock_;
	std::map<std::string, std::unique_ptr<kobject>> kobjects_; /* by path */
	std::function<void()> before_failure_;
	kobject module_;
};

} /* namespace sim */
