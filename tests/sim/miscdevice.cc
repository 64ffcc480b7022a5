// SPDX-License-Identifier: GPL-2.0
/* Misc devices and remap_pfn_range. A page frame number is an address, shifted. */
#include "kernel/api/miscdevice.h"

#include <algorithm>
#include <cerrno>

#include "kernel.h"
#include "kernel/layout.gen.h"

static_assert(sizeof(sim::MiscDevice) == KERNEL_SIZEOF_MISCDEVICE);
static_assert(sizeof(sim::FileOperations) == KERNEL_SIZEOF_FILE_OPERATIONS);

namespace sim {

const MiscDevice *MiscDevices::find(const std::string &name)
{
	std::lock_guard guard(lock_);
	for (const MiscDevice *device : devices_)
		if (name == device->name)
			return device;
	return nullptr;
}

int MiscDevices::open(const std::string &name)
{
	const MiscDevice *device = find(name);
	if (!device)
		return -ENOENT;
	return device->operations->open ? device->operations->open(nullptr, nullptr) : 0;
}

Mapping MiscDevices::map(const std::string &name, size_t size, size_t offset)
{
	if (const int error = open(name))
		return {error, {}};
	const MiscDevice *device = find(name);
	if (!device->operations->mmap)
		return {-ENODEV, {}};
	if (size == 0 || offset % kPageSize != 0)
		return {-EINVAL, {}};

	vm_area_struct vma;
	vma.size = (size + kPageSize - 1) / kPageSize * kPageSize;
	vma.page_offset = offset / kPageSize;
	if (const int error = device->operations->mmap(nullptr, &vma))
		return {error, {}};
	return {0, {vma.memory, vma.mapped}};
}

int MiscDevices::add(MiscDevice *device)
{
	std::lock_guard guard(lock_);
	for (const MiscDevice *other : devices_)
		if (std::string(other->name) == device->name)
			return -EEXIST;
	devices_.push_back(device);
	return 0;
}

void MiscDevices::remove(MiscDevice *device)
{
	std::lock_guard guard(lock_);
	if (std::erase(devices_, device) != 1)
		kernel_.problems.add("misc_deregister of a device that is not registered");
}

std::vector<std::string> MiscDevices::names()
{
	std::lock_guard guard(lock_);
	std::vector<std::string> names;
	for (const MiscDevice *device : devices_)
		names.emplace_back(device->name);
	return names;
}

} /* namespace sim */

using sim::Kernel;

void helper_miscdevice_init(struct miscdevice *device, struct file_operations *operations,
			    const char *name, int (*open)(struct inode *, struct file *),
			    int (*mmap)(struct file *, struct vm_area_struct *))
{
	auto *filled = reinterpret_cast<sim::FileOperations *>(operations);
	*filled = {open, mmap};
	*reinterpret_cast<sim::MiscDevice *>(device) = {name, filled, nullptr};
}

int misc_register(struct miscdevice *device)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("misc_register");
	if (kernel.faults.strikes("misc_register"))
		return -EBUSY;
	return kernel.misc.add(reinterpret_cast<sim::MiscDevice *>(device));
}

void misc_deregister(struct miscdevice *device)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("misc_deregister");
	kernel.misc.remove(reinterpret_cast<sim::MiscDevice *>(device));
}

unsigned long helper_vma_size(const struct vm_area_struct *vma)
{
	return vma->size;
}

int helper_remap_pfn_range(struct vm_area_struct *vma, unsigned long pfn, unsigned long size)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("remap_pfn_range");
	if (kernel.faults.strikes("remap_pfn_range"))
		return -ENOMEM;
	auto *memory = reinterpret_cast<std::byte *>(pfn * sim::kPageSize);
	if (!kernel.slab.covers(memory, size))
		kernel.problems.add("remap_pfn_range beyond an allocation");
	if (size > vma->size)
		return -EINVAL;
	vma->memory = memory;
	vma->mapped = size;
	return 0;
}

unsigned long helper_virt_to_pfn(const void *address)
{
	return reinterpret_cast<unsigned long>(address) / sim::kPageSize;
}
