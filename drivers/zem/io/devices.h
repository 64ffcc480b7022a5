/* SPDX-License-Identifier: GPL-2.0 */
/* The four block devices whose IO is told. */
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

/* Any context. Return: the index of a device by its number, not 0; or kNotTracked. */
[[nodiscard]] inline u32 tracked_device(u32 dev)
{
	u32 index = 0;
	while (index < ZEM_IO_DEVICES && kioind_dev[index].dev.load() != dev)
		index++;
	return index;
}

/* May sleep. Return: 0 with a block device's number, or a negative error code, which is logged. */
int get_hd_struct(const char *path, u32 *dev);

/*
 * Looks the devices up by their paths, until all have been found. May sleep; callers take turns,
 * with those of kio_diskstats().
 */
void find_tracked_devices();

/* Brings the statistics of the devices that were found up to date. */
void kio_diskstats(zem_kio &kioind);

} /* namespace zem */
