// SPDX-License-Identifier: GPL-2.0
/* Device lookup, device statistics, and the platform's data of bios. */
#include "block.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "kernel.h"

namespace sim {

namespace {

/* block_device is not standard-layout, so the offsets of its members are checked at run time. */
bool has_number_in_place(const block_device &device)
{
	return reinterpret_cast<const char *>(&device.number) -
		       reinterpret_cast<const char *>(&device) ==
	       KERNEL_BDEV_DEV;
}

} /* namespace */

Blocks::Blocks(Kernel &kernel) : kernel_(kernel)
{
}

block_device &Blocks::add(const std::string &path, u32 major, u32 minor, const std::string &name)
{
	std::lock_guard guard(lock_);
	paths_[path] = number(major, minor);
	auto &device = devices_.emplace_back(nullptr, number(major, minor), name);
	if (!has_number_in_place(device))
		throw std::logic_error(
			"the number of a block device is not where it is looked for");
	return device;
}

void Blocks::link(const std::string &path, u32 number)
{
	std::lock_guard guard(lock_);
	paths_[path] = number;
}

void Blocks::unlink(const std::string &path)
{
	std::lock_guard guard(lock_);
	paths_.erase(path);
}

block_device &Blocks::at(const std::string &path)
{
	std::lock_guard guard(lock_);
	const u32 number = paths_.at(path);
	for (block_device &device : devices_)
		if (device.number == number)
			return device;
	throw std::out_of_range("no device behind " + path);
}

int Blocks::look_up(const std::string &path, u32 *number)
{
	std::lock_guard guard(lock_);
	const auto found = paths_.find(path);
	if (found == paths_.end())
		return -ENOENT;
	*number = found->second;
	return 0;
}

block_device *Blocks::get(u32 number)
{
	std::lock_guard guard(lock_);
	for (block_device &device : devices_) {
		if (device.number != number)
			continue;
		references_++;
		return &device;
	}
	return nullptr;
}

void Blocks::put(block_device *device)
{
	std::lock_guard guard(lock_);
	if (std::ranges::none_of(devices_, [&](const auto &other) { return &other == device; }))
		kernel_.problems.add("blkdev_put_no_open of what is no device");
	references_--;
}

void Blocks::gather_long_iowaits(void *snapshot)
{
	if (long_iowaits_)
		long_iowaits_(snapshot);
}

} /* namespace sim */

using sim::Kernel;

int lookup_bdev(const char *path, u32 *device)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("lookup_bdev");
	if (kernel.faults.strikes("lookup_bdev"))
		return -ENOENT;
	return kernel.blocks.look_up(path, device);
}

void helper_bdev_stats(struct block_device *device, struct bdev_stats *stats)
{
	Kernel &kernel = Kernel::get();
	kernel.faults.strikes("part_stat_read");
	*stats = {};
	for (unsigned int cpu = 0; cpu < kernel.cpus.ids(); cpu++) {
		if (!kernel.cpus.possible(cpu))
			continue;
		const bdev_stats &counted = device->counted.at(cpu);
		for (size_t i = 0; i < 2; i++) {
			stats->ios[i] += counted.ios[i];
			stats->merges[i] += counted.merges[i];
			stats->sectors[i] += counted.sectors[i];
			stats->ns[i] += counted.ns[i];
		}
		stats->io_ticks += counted.io_ticks;
	}
}

struct block_device *platform_bdev_get_no_open(u32 device)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("blkdev_get_no_open");
	if (kernel.faults.strikes("blkdev_get_no_open"))
		return nullptr;
	return kernel.blocks.get(device);
}

void platform_bdev_put_no_open(struct block_device *device)
{
	Kernel::get().blocks.put(device);
}

int platform_bio_submitter(const struct bio *bio)
{
	return bio->submitter;
}

void gather_long_iowait_file(void *kioind)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("gather_long_iowait_file");
	kernel.faults.strikes("gather_long_iowait_file");
	kernel.blocks.gather_long_iowaits(kioind);
}
