// SPDX-License-Identifier: GPL-2.0
/* The tree of /proc, and writes to its files. */
#include "proc_fs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "active_call.h"
#include "kernel.h"

namespace sim {

namespace {

/* An address without memory behind it: copying from it faults. */
char unmapped;

/* Returns the operations of a file with a single element. */
seq_operations shown_whole(int (*show)(seq_file *, void *))
{
	static char whole;
	return {
		.start =
			[](seq_file *, s64 *position) {
				return *position ? nullptr : static_cast<void *>(&whole);
			},
		.stop = [](seq_file *, void *) {},
		.next =
			[](seq_file *, void *, s64 *position) {
				++*position;
				return static_cast<void *>(nullptr);
			},
		.show = show,
	};
}

umode_t or_default(umode_t mode)
{
	constexpr umode_t kDefault = 0444;
	return mode ? mode : kDefault;
}

} /* namespace */

std::shared_ptr<proc_dir_entry> ProcFs::find(const std::string &path)
{
	std::lock_guard guard(lock_);
	std::shared_ptr<proc_dir_entry> found;
	const std::vector<std::shared_ptr<proc_dir_entry>> *children = &root_.children;
	for (size_t begin = 0; begin <= path.size();) {
		const size_t end = std::min(path.find('/', begin), path.size());
		const std::string name = path.substr(begin, end - begin);
		const auto child = std::ranges::find_if(*children, [&](const auto &entry) {
			return entry->name == name;
		});
		if (child == children->end())
			return nullptr;
		found = *child;
		children = &found->children;
		begin = end + 1;
	}
	return found;
}

OpenFile ProcFs::open(const std::string &path)
{
	return {kernel_, find(path)};
}

ReadResult ProcFs::read(const std::string &path)
{
	return open(path).read_all();
}

ssize_t ProcFs::write_user(const std::string &path, const char *user_text, size_t count)
{
	const auto entry = find(path);
	if (!entry)
		return -ENOENT;
	ActiveCall call(*entry);
	if (!call || !entry->write)
		return -EIO;
	const ssize_t taken = entry->write(user_text, count, entry->data);
	if (taken > static_cast<ssize_t>(count))
		kernel_.problems.add("the write of " + path + " took more than was written");
	return taken;
}

ssize_t ProcFs::write(const std::string &path, std::string_view text)
{
	const auto copy = std::make_unique<char[]>(text.size());
	memcpy(copy.get(), text.data(), text.size());
	return write_user(path, copy.get(), text.size());
}

ssize_t ProcFs::write_faulting(const std::string &path, size_t count)
{
	return write_user(path, &unmapped, count);
}

bool ProcFs::exists(const std::string &path)
{
	return find(path) != nullptr;
}

std::vector<std::pair<std::string, unsigned int>> ProcFs::list(const std::string &directory)
{
	std::vector<std::pair<std::string, unsigned int>> names;
	const auto entry = find(directory);
	std::lock_guard guard(lock_);
	if (entry)
		for (const auto &child : entry->children)
			names.emplace_back(child->name, child->mode);
	return names;
}

proc_dir_entry *ProcFs::make(const std::string &name, proc_dir_entry *parent, bool is_directory,
			     unsigned int mode)
{
	std::lock_guard guard(lock_);
	auto &siblings = (parent ? parent : &root_)->children;
	for (const auto &sibling : siblings) {
		if (sibling->name != name)
			continue;
		kernel_.problems.add("a second /proc entry named " + name);
		return nullptr;
	}
	auto &entry = siblings.emplace_back(std::make_shared<proc_dir_entry>(kernel_, name));
	entry->is_directory = is_directory;
	entry->mode = mode;
	return entry.get();
}

/* Refuses new calls immediately, and waits for running ones. */
void ProcFs::remove(const std::string &name, proc_dir_entry *parent)
{
	std::shared_ptr<proc_dir_entry> entry;
	{
		std::lock_guard guard(lock_);
		auto &siblings = (parent ? parent : &root_)->children;
		const auto found = std::ranges::find_if(siblings, [&](const auto &sibling) {
			return sibling->name == name;
		});
		if (found == siblings.end()) {
			kernel_.problems.add("no /proc entry named " + name + " to remove");
			return;
		}
		entry = *found;
		siblings.erase(found);
	}
	if (!entry->children.empty())
		kernel_.problems.add("the /proc directory " + name +
				     " is removed with files in it");
	entry->activity.change([&] { entry->removed = true; });
	entry->activity.wait("the last user of /proc/.../" + name,
			     [&] { return entry->calls == 0; });
}

void ProcFs::remove(proc_dir_entry *entry)
{
	proc_dir_entry *parent = nullptr;
	{
		std::lock_guard guard(lock_);
		for (const auto &directory : root_.children)
			for (const auto &child : directory->children)
				if (child.get() == entry)
					parent = directory.get();
	}
	remove(std::string(entry->name), parent);
}

/* Removes the children first, waiting for each one's users. */
int ProcFs::remove_subtree(const std::string &name, proc_dir_entry *parent)
{
	std::vector<std::string> children;
	proc_dir_entry *entry = nullptr;
	{
		std::lock_guard guard(lock_);
		for (const auto &sibling : (parent ? parent : &root_)->children)
			if (sibling->name == name)
				entry = sibling.get();
		if (!entry)
			return -ENOENT;
		for (const auto &child : entry->children)
			children.push_back(child->name);
	}
	for (const std::string &child : children)
		static_cast<void>(remove_subtree(child, entry));
	remove(name, parent);
	return 0;
}

std::vector<std::string> ProcFs::entries()
{
	std::lock_guard guard(lock_);
	std::vector<std::string> paths;
	for (const auto &entry : root_.children) {
		paths.push_back(entry->name);
		for (const auto &child : entry->children)
			paths.push_back(entry->name + "/" + child->name);
	}
	return paths;
}

void ProcFs::clear()
{
	std::lock_guard guard(lock_);
	root_.children.clear();
}

} /* namespace sim */

using sim::Kernel;

struct proc_dir_entry *proc_mkdir(const char *name, struct proc_dir_entry *parent)
{
	constexpr unsigned int kDirectoryMode = 0555;
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("proc_mkdir");
	if (kernel.faults.strikes("proc_mkdir"))
		return nullptr;
	return kernel.proc.make(name, parent, true, kDirectoryMode);
}

struct proc_dir_entry *helper_proc_create(const char *name, umode_t mode,
					  struct proc_dir_entry *parent,
					  const struct proc_file *file)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("proc_create_data");
	if (kernel.faults.strikes("proc_create_data"))
		return nullptr;
	proc_dir_entry *entry = kernel.proc.make(name, parent, false, mode);
	if (entry) {
		entry->operations = sim::shown_whole(file->show);
		entry->write = file->write;
		entry->data = file->data;
	}
	return entry;
}

struct proc_dir_entry *proc_create_single_data(const char *name, umode_t mode,
					       struct proc_dir_entry *parent,
					       int (*show)(struct seq_file *, void *), void *data)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("proc_create_single_data");
	if (kernel.faults.strikes("proc_create_single_data"))
		return nullptr;
	proc_dir_entry *entry = kernel.proc.make(name, parent, false, sim::or_default(mode));
	if (entry) {
		entry->operations = sim::shown_whole(show);
		entry->data = data;
	}
	return entry;
}

struct proc_dir_entry *proc_create_seq_private(const char *name, umode_t mode,
					       struct proc_dir_entry *parent,
					       const struct seq_operations *operations,
					       unsigned int state_size, void *data)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("proc_create_seq_private");
	if (kernel.faults.strikes("proc_create_seq_private"))
		return nullptr;
	proc_dir_entry *entry = kernel.proc.make(name, parent, false, sim::or_default(mode));
	if (entry) {
		entry->operations = *operations;
		entry->state_size = state_size;
		entry->data = data;
	}
	return entry;
}

void proc_remove(struct proc_dir_entry *entry)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("proc_remove");
	kernel.faults.strikes("proc_remove");
	if (entry)
		kernel.proc.remove(entry);
}

int remove_proc_subtree(const char *name, struct proc_dir_entry *parent)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("remove_proc_subtree");
	kernel.faults.strikes("remove_proc_subtree");
	return kernel.proc.remove_subtree(name, parent);
}

unsigned long helper_copy_from_user(void *to, const void *user_from, unsigned long count)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("copy_from_user");
	if (user_from == &sim::unmapped) {
		memset(to, 0, count);
		return count;
	}
	memcpy(to, user_from, count);
	return 0;
}
