/* SPDX-License-Identifier: GPL-2.0 */
/* The four tracked block devices. */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"
#include "uapi/linux/zem.h"

struct block_device;

namespace zem {

struct TrackedDevice {
	char path[32];
	Relaxed<u32> dev; /* its number; 0: not found yet */
	block_device *bdev; /* the platform keeps it alive; null: not found yet */

	[[nodiscard]] u32 major() const { return dev.load() >> 20 & 0xfff; }

	[[nodiscard]] u32 minor() const { return dev.load() & 0xfffff; }
};

extern TrackedDevice kioind_dev[ZEM_IO_DEVICES];

inline constexpr u32 kNotTracked = ZEM_IO_DEVICES;

/* @dev must not be 0. Return: the index of the device, or kNotTracked. Context: any. */
[[nodiscard]] inline u32 tracked_device(u32 dev)
{
	u32 index = 0;
	while (index < ZEM_IO_DEVICES && kioind_dev[index].dev.load() != dev)
		index++;
	return index;
}

/*
 * Sets @dev to the number of a block device. Context: may sleep.
 * Return: 0 or a negative error code, which is logged.
 */
int get_hd_struct(const char *path, u32 *dev);

/*
 * Looks up the devices by path until all have been found. Context: may sleep.
 * Locking: caller holds kioind_lock.
 */
void find_tracked_devices();

/* Updates the statistics of the devices that were found. Locking: caller holds kioind_lock. */
void kio_diskstats(zem_kio &kioind);

} /* namespace zem */
