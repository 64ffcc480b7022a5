// SPDX-License-Identifier: GPL-2.0
/* The user's side of sysfs: read(), write() and poll() on its files. */
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "active_call.h"
#include "kernel.h"

namespace sim {

namespace {

/* A buffer of the exact size, so that AddressSanitizer detects accesses beyond it. */
struct Free {
	void operator()(char *memory) const { free(memory); }
};
using Page = std::unique_ptr<char, Free>;

Page zeroed_page()
{
	Page page(static_cast<char *>(aligned_alloc(kPageSize, kPageSize)));
	memset(page.get(), 0, kPageSize);
	return page;
}

} /* namespace */

std::shared_ptr<SysfsFile> Sysfs::find(const std::string &path, kobject **kobj)
{
	std::lock_guard guard(lock_);
	const size_t slash = path.rfind('/');
	const auto directory = kobjects_.find(path.substr(0, slash));
	if (slash == std::string::npos || directory == kobjects_.end())
		return nullptr;
	if (kobj)
		*kobj = directory->second.get();
	for (const auto &file : directory->second->files)
		if (path.substr(slash + 1) == file->attribute.name)
			return file;
	return nullptr;
}

ReadResult Sysfs::read(const std::string &path)
{
	kobject *kobj = nullptr;
	const auto file = find(path, &kobj);
	if (!file)
		return {-ENOENT, {}};
	ActiveCall call(*file);
	if (!call)
		return {-ENODEV, {}};
	if (!file->attribute.show)
		return {-EIO, {}};

	const Page page = zeroed_page();
	ssize_t length = file->attribute.show(kobj, file->module_attribute, page.get());
	if (length < 0)
		return {length, {}};
	if (static_cast<size_t>(length) >= kPageSize) {
		kernel_.problems.add("the show of " + path + " returned more than a page");
		length = kPageSize - 1;
	}
	return {length, {page.get(), static_cast<size_t>(length)}};
}

ssize_t Sysfs::write(const std::string &path, std::string_view text)
{
	kobject *kobj = nullptr;
	const auto file = find(path, &kobj);
	if (!file)
		return -ENOENT;
	ActiveCall call(*file);
	if (!call)
		return -ENODEV;
	/* The kernel does not call the store for an empty write, and passes at most one page. */
	const size_t length = std::min(text.size(), kPageSize);
	if (length == 0)
		return 0;
	if (!file->attribute.store)
		return -EIO;

	const auto buffer = std::make_unique<char[]>(length + 1);
	memcpy(buffer.get(), text.data(), length);
	buffer[length] = '\0';
	const ssize_t taken =
		file->attribute.store(kobj, file->module_attribute, buffer.get(), length);
	if (taken > static_cast<ssize_t>(length))
		kernel_.problems.add("the store of " + path + " took more than was written");
	return taken;
}

Poller Sysfs::poll(const std::string &path)
{
	return Poller(find(path, nullptr));
}

unsigned long Sysfs::notifications(const std::string &path)
{
	const auto file = find(path, nullptr);
	return file ? file->notification.look([&] { return file->notifications; }) : 0;
}

bool Sysfs::exists(const std::string &path)
{
	{
		std::lock_guard guard(lock_);
		if (kobjects_.contains(path))
			return true;
	}
	return find(path, nullptr) != nullptr;
}

std::vector<std::pair<std::string, unsigned int>> Sysfs::list(const std::string &directory)
{
	std::lock_guard guard(lock_);
	std::vector<std::pair<std::string, unsigned int>> names;
	if (const auto kobj = kobjects_.find(directory); kobj != kobjects_.end())
		for (const auto &file : kobj->second->files)
			names.emplace_back(file->attribute.name, file->attribute.mode);
	return names;
}

Poller::Poller(std::shared_ptr<SysfsFile> file)
	: file_(std::move(file)),
	  seen_(file_->notification.look([&] { return file_->notifications; }))
{
}

bool Poller::wait(std::optional<Ticks> jiffies)
{
	std::optional<Ticks> deadline;
	if (jiffies)
		deadline = Kernel::get().clock.ticks() + *jiffies;
	return file_->notification.wait(
		std::string("a notification of ") + file_->attribute.name,
		[&] { return file_->notifications != seen_; }, deadline,
		[&] { seen_ = file_->notifications; });
}

} /* namespace sim */
