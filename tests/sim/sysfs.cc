// SPDX-License-Identifier: GPL-2.0
/* The directories of sysfs and the kernel's functions: groups, removal, notification. */
#include "sysfs.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "kernel.h"
#include "kernel/layout.gen.h"

static_assert(sizeof(sim::Attribute) == KERNEL_SIZEOF_KOBJ_ATTRIBUTE);

namespace sim {

namespace {

/* The simulation's content of an attribute_group. */
struct Group {
	Attribute **attributes;
};
static_assert(sizeof(Group) <= KERNEL_SIZEOF_ATTRIBUTE_GROUP);

} /* namespace */

kobject *Sysfs::create(const std::string &name, kobject *parent)
{
	std::lock_guard guard(lock_);
	const std::string path = parent ? parent->path + "/" + name : name;
	if (kobjects_.contains(path)) {
		kernel_.problems.add("a second kobject named " + path);
		return nullptr;
	}
	auto &kobj = kobjects_[path] = std::make_unique<kobject>();
	kobj->path = path;
	kobj->parent = parent;
	if (parent)
		parent->references++;
	return kobj.get();
}

void Sysfs::put(kobject *kobj)
{
	std::lock_guard guard(lock_);
	if (--kobj->references > 0)
		return;
	if (kobj->group)
		kernel_.problems.add("the last reference of " + kobj->path +
				     " was dropped before its group was removed");
	kobject *parent = kobj->parent;
	kobjects_.erase(kobj->path);
	if (parent)
		parent->references--;
}

bool Sysfs::add_files(kobject &kobj, Attribute *const *list)
{
	constexpr unsigned int kAllowedMode = 0664;
	for (; *list; list++) {
		const Attribute &attribute = **list;
		if (attribute.mode & ~kAllowedMode)
			kernel_.problems.add(std::string("mode of ") + attribute.name);
		for (const auto &file : kobj.files)
			if (std::string_view(file->attribute.name) == attribute.name)
				return false;
		auto &file =
			kobj.files.emplace_back(std::make_shared<SysfsFile>(kernel_, attribute));
		file->module_attribute = reinterpret_cast<kobj_attribute *>(*list);
	}
	return true;
}

int Sysfs::create_group(kobject *kobj, const attribute_group *group)
{
	{
		std::lock_guard guard(lock_);
		if (!add_files(*kobj, reinterpret_cast<const Group *>(group)->attributes)) {
			kobj->files.clear();
			return -EEXIST;
		}
		kobj->group = group;
	}
	const auto before_failure = std::exchange(before_failure_, nullptr);
	if (!before_failure)
		return 0;
	before_failure();
	remove_group(kobj, group);
	return -ENOMEM;
}

void Sysfs::fail_after_visible(std::function<void()> meanwhile)
{
	before_failure_ = std::move(meanwhile);
}

/* Refuses new calls immediately, and waits for running ones. */
void Sysfs::remove_group(kobject *kobj, const attribute_group *group)
{
	std::vector<std::shared_ptr<SysfsFile>> files;
	{
		std::lock_guard guard(lock_);
		if (kobj->group != group)
			kernel_.problems.add("sysfs_remove_group of a group that is not there");
		kobj->group = nullptr;
		files.swap(kobj->files);
	}
	for (const auto &file : files) {
		file->activity.change([&] { file->removed = true; });
		file->activity.wait("the last user of " + kobj->path + "/" + file->attribute.name,
				    [&] { return file->calls == 0; });
		/* Pollers are notified of the removal. */
		file->notification.change([&] { file->notifications++; });
	}
}

void Sysfs::notify(kobject *kobj, const std::string &name)
{
	std::shared_ptr<SysfsFile> file;
	{
		std::lock_guard guard(lock_);
		for (const auto &candidate : kobj->files)
			if (name == candidate->attribute.name)
				file = candidate;
	}
	if (file)
		file->notification.change([&] { file->notifications++; });
}

kobject *Sysfs::module_directory()
{
	return &module_;
}

std::vector<std::string> Sysfs::directories()
{
	std::lock_guard guard(lock_);
	std::vector<std::string> paths;
	for (const auto &[path, kobj] : kobjects_)
		paths.push_back(path);
	return paths;
}

void Sysfs::clear()
{
	std::lock_guard guard(lock_);
	kobjects_.clear();
}

} /* namespace sim */

using sim::Kernel;

struct kobject *kobject_create_and_add(const char *name, struct kobject *parent)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("kobject_create_and_add");
	if (kernel.faults.strikes("kobject_create_and_add"))
		return nullptr;
	return kernel.sysfs.create(name, parent);
}

void kobject_put(struct kobject *kobj)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("kobject_put");
	if (kobj)
		kernel.sysfs.put(kobj);
}

void helper_attribute_group_init(struct attribute_group *group, struct attribute **list,
				 struct kobj_attribute *attributes,
				 const struct attribute_row *rows, size_t count)
{
	auto *filled = reinterpret_cast<sim::Attribute *>(attributes);
	auto **pointers = reinterpret_cast<sim::Attribute **>(list);
	for (size_t i = 0; i < count; i++) {
		filled[i] = {rows[i].name, rows[i].mode, rows[i].show, rows[i].store};
		pointers[i] = &filled[i];
	}
	pointers[count] = nullptr;
	reinterpret_cast<sim::Group *>(group)->attributes = pointers;
}

int sysfs_create_group(struct kobject *kobj, const struct attribute_group *group)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("sysfs_create_group");
	if (kernel.faults.strikes("sysfs_create_group"))
		return -ENOMEM;
	return kernel.sysfs.create_group(kobj, group);
}

void sysfs_remove_group(struct kobject *kobj, const struct attribute_group *group)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("sysfs_remove_group");
	kernel.faults.strikes("sysfs_remove_group");
	kernel.sysfs.remove_group(kobj, group);
}

void sysfs_notify(struct kobject *kobj, const char *dir, const char *attr)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("sysfs_notify");
	if (dir)
		kernel.problems.add("sysfs_notify in a named group is not simulated");
	kernel.sysfs.notify(kobj, attr);
	kernel.faults.strikes("sysfs_notify");
}

int sysfs_emit(char *page, const char *fmt, ...)
{
	if (reinterpret_cast<uintptr_t>(page) % sim::kPageSize != 0) {
		Kernel::get().problems.add("sysfs_emit to what is not a page");
		return 0;
	}
	va_list arguments;
	va_start(arguments, fmt);
	const int length = vsnprintf(page, sim::kPageSize, fmt, arguments);
	va_end(arguments);
	return std::min(length, static_cast<int>(sim::kPageSize) - 1);
}
