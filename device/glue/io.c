// SPDX-License-Identifier: GPL-2.0
/* Block devices and bios. */
#include <linux/blkdev.h>
#include <linux/device.h>
#include <linux/export.h>
#include <linux/fs.h>
#include <linux/kobject.h>
#include <linux/string.h>

#include <linux/zem.h>

#include "contract.h"
#include "vendor.h"

int platform_bio_submitter(const struct bio *bio)
{
	return vendor_bio_submitter(bio);
}
EXPORT_SYMBOL_GPL(platform_bio_submitter);

/*
 * zem keeps reading the statistics of a device after the put, so its disks must never be removed.
 * ADAPT: blkdev_get_no_open(), if the device's kernel exports it.
 */
struct block_device *platform_bdev_get_no_open(u32 device)
{
	struct inode *inode = ilookup(blockdev_superblock, device);
	struct block_device *found;

	if (!inode)
		return NULL;
	found = I_BDEV(inode);
	if (!kobject_get_unless_zero(&found->bd_device.kobj))
		found = NULL;
	iput(inode);
	return found;
}
EXPORT_SYMBOL_GPL(platform_bdev_get_no_open);

void platform_bdev_put_no_open(struct block_device *device)
{
	put_device(&device->bd_device);
}
EXPORT_SYMBOL_GPL(platform_bdev_put_no_open);

/* ADAPT: fill the tail if the device has a collector of long IO waits. */
void gather_long_iowait_file(void *kioind)
{
	struct zem_kio *snapshot = kioind;

	memset(snapshot->tail, 0, sizeof(snapshot->tail));
}
EXPORT_SYMBOL_GPL(gather_long_iowait_file);
