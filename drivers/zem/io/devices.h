/* SPDX-License-Identifier: GPL-2.0 */
/* The four tracked block devices, by index. */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"
#include "uapi/linux/zem.h"

struct block_device;

namespace zem {

inline constexpr u32 kNotTracked = ZEM_IO_DEVICES;

/* What the searches have found. */
struct TrackedDevices {
	block_device *bdev[ZEM_IO_DEVICES]; /* the platform keeps it alive; null: not found yet */
	bool dev_init_done; /* all have been found */
};

/* The numbers of the devices that were found. Context: any. */
class DeviceNumbers {
public:
	/* Return: 0 if the device was not found yet. */
	[[nodiscard]] static u32 of(size_t index) { return numbers_[index].load(); }

	[[nodiscard]] static u32 major(size_t index) { return of(index) >> 20 & 0xfff; }

	[[nodiscard]] static u32 minor(size_t index) { return of(index) & 0xfffff; }

	static void set(size_t index, u32 dev) { numbers_[index].store(dev); }

private:
	static Relaxed<u32> numbers_[ZEM_IO_DEVICES];
};

/* @dev must not be 0. Return: the index of the device, or kNotTracked. Context: any. */
[[nodiscard]] inline u32 tracked_device(u32 dev)
{
	u32 index = 0;
	while (index < ZEM_IO_DEVICES && DeviceNumbers::of(index) != dev)
		index++;
	return index;
}

/* The path by which a device is searched, and its name in texts. */
[[nodiscard]] const char *tracked_path(size_t index);

/*
 * Sets @dev to the number of a block device. Context: may sleep.
 * Return: 0 or a negative error code, which is logged.
 */
int get_hd_struct(const char *path, u32 *dev);

/* Looks up the devices by path until all have been found. Context: may sleep. */
void find_tracked_devices(TrackedDevices &devices);

/* Updates the statistics of the devices that were found. */
void kio_diskstats(zem_kio &kioind, const TrackedDevices &devices);

} /* namespace zem */
