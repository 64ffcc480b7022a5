/* SPDX-License-Identifier: GPL-2.0 */
/* Misc devices: the kernel's registry, and a user's open() and mmap(). */
#pragma once

#include <cstddef>
#include <mutex>
#include <span>
#include <string>
#include <vector>

struct inode;
struct file;
struct miscdevice;

struct vm_area_struct {
	unsigned long size = 0; /* a multiple of the page size */
	unsigned long page_offset = 0;
	std::byte *memory = nullptr; /* the memory at its start */
	size_t mapped = 0;
};

namespace sim {

class Kernel;

/* The simulation's content of a file_operations and a miscdevice. */
struct FileOperations {
	int (*open)(inode *, file *);
	int (*mmap)(file *, vm_area_struct *);
};

struct MiscDevice {
	const char *name;
	const FileOperations *operations;
	const void *unused;
};

/* A user's mapping, which is the module's own memory. */
struct Mapping {
	int error;
	std::span<std::byte> bytes;
};

class MiscDevices {
public:
	explicit MiscDevices(Kernel &kernel) : kernel_(kernel) {}

	/* Return: 0 or a negative error code; -ENOENT if the device does not exist. */
	[[nodiscard]] int open(const std::string &name);
	/* Opens, maps and closes. A mapping outlives its file. @offset: in bytes. */
	[[nodiscard]] Mapping map(const std::string &name, size_t size, size_t offset = 0);

	[[nodiscard]] int add(MiscDevice *device);
	void remove(MiscDevice *device);
	[[nodiscard]] std::vector<std::string> names();

private:
	[[nodiscard]] const MiscDevice *find(const std::string &name);

	Kernel &kernel_;
	std::mutex lock_;
	std::vector<MiscDevice *> devices_;
};

} /* namespace sim */
