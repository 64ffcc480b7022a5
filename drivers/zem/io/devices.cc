// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the devices and reads their statistics. A device is used after its reference was put: the
 * platform guarantees that the statistics can be read as long as this module is loaded.
 */
#include "io/devices.h"

#include "kernel/api/block.h"
#include "kernel/api/printk.h"
#include "kernel/duration.h"
#include "platform/contract.h"

namespace zem {

constinit Relaxed<u32> DeviceNumbers::numbers_[ZEM_IO_DEVICES];

namespace {

constexpr const char *kioind_dev[ZEM_IO_DEVICES] = {
	"/dev/block/sda",
	"/dev/block/sde",
	"/dev/block/by-name/super",
	"/dev/block/by-name/userdata",
};

/* Return: whether the path exists; it may still not lead to a device. */
bool find(TrackedDevices &devices, size_t index)
{
	const char *path = tracked_path(index);
	u32 dev;
	if (get_hd_struct(path, &dev)) {
		pr_err("zem Block device %s not found", path);
		return false;
	}
	if (block_device *bdev = platform_bdev_get_no_open(dev)) {
		devices.bdev[index] = bdev;
		DeviceNumbers::set(index, dev);
		platform_bdev_put_no_open(bdev);
	}
	return true;
}

/* The record has 32 bits for a time. */
template <typename Time>
u32 ticks(Time time)
{
	return static_cast<u32>(milliseconds(time).count);
}

void take_statistics(zem_io_disk &disk, block_device *bdev)
{
	bdev_stats stats;
	helper_bdev_stats(bdev, &stats);
	disk.rd_ios = stats.ios[0];
	disk.rd_merges = stats.merges[0];
	disk.rd_sectors = stats.sectors[0];
	disk.rd_ticks = ticks(Nanoseconds{stats.ns[0]});
	disk.wr_ios = stats.ios[1];
	disk.wr_merges = stats.merges[1];
	disk.wr_sectors = stats.sectors[1];
	disk.wr_ticks = ticks(Nanoseconds{stats.ns[1]});
	disk.in_flight = 0;
	disk.io_ticks = ticks(Jiffies{stats.io_ticks});
}

} /* namespace */

const char *tracked_path(size_t index)
{
	return kioind_dev[index];
}

int get_hd_struct(const char *path, u32 *dev)
{
	const int error = lookup_bdev(path, dev);
	if (error)
		pr_err("Block device %s not found", path);
	return error;
}

void find_tracked_devices(TrackedDevices &devices)
{
	if (devices.dev_init_done)
		return;
	pr_info("%s ", "kioind_save_dev");
	devices.dev_init_done = true;
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		if (!find(devices, i))
			devices.dev_init_done = false;
}

void kio_diskstats(zem_kio &kioind, const TrackedDevices &devices)
{
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		if (devices.bdev[i])
			take_statistics(kioind.devices[i].disk, devices.bdev[i]);
}

} /* namespace zem */
