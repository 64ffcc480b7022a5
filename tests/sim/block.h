/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Block devices by path and number, with statistics for each CPU; bios; and the platform's
 * collector of long IO waits. Any thread.
 */
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>

#include "cpus.h"
#include "kernel/api/block.h"
#include "kernel/layout.gen.h"

struct block_device {
	/* The module reads the number at a fixed offset. */
	const void *unused;
	const u32 number;
	const std::string name;
	std::array<bdev_stats, sim::Cpus::kMost> counted{}; /* by CPU */
};

struct bio {
	const void *next = nullptr;
	block_device *device = nullptr;
	u32 operation = 0;
	u16 flags = 0;
	u64 issue = 0;
	int submitter = 0;
};
static_assert(offsetof(bio, device) == KERNEL_BIO_BDEV);
static_assert(offsetof(bio, operation) == KERNEL_BIO_OPF);
static_assert(offsetof(bio, flags) == KERNEL_BIO_FLAGS);
static_assert(offsetof(bio, issue) == KERNEL_BIO_STAMP);

namespace sim {

class Kernel;

class Blocks {
public:
	explicit Blocks(Kernel &kernel);

	[[nodiscard]] static u32 number(u32 major, u32 minor) { return major << 20 | minor; }

	/* Adds a device at @path. It lives as long as the kernel. */
	block_device &add(const std::string &path, u32 major, u32 minor, const std::string &name);
	/* Makes a path lead to a number, with or without a device. */
	void link(const std::string &path, u32 number);
	void unlink(const std::string &path);
	/* Returns the device at a path. It must exist. */
	[[nodiscard]] block_device &at(const std::string &path);

	/* @fill runs with the snapshot when long IO waits are collected. */
	void set_long_iowaits(std::function<void(void *snapshot)> fill)
	{
		long_iowaits_ = std::move(fill);
	}

	/* Number of devices that were opened and not put. */
	[[nodiscard]] int references() const { return references_.load(); }

	/* For the kernel's and the platform's functions. */
	[[nodiscard]] int look_up(const std::string &path, u32 *number);
	[[nodiscard]] block_device *get(u32 number);
	void put(block_device *device);
	void gather_long_iowaits(void *snapshot);

private:
	Kernel &kernel_;
	std::mutex lock_;
	std::list<block_device> devices_;
	std::map<std::string, u32> paths_;
	std::function<void(void *)> long_iowaits_;
	std::atomic<int> references_{0};
};

} /* namespace sim */
