/* SPDX-License-Identifier: GPL-2.0 */
/* Block devices: <linux/blkdev.h>, <linux/part_stat.h>. */
#ifndef _ZEM_KERNEL_API_BLOCK_H
#define _ZEM_KERNEL_API_BLOCK_H

#include "types.h"

ZEM_API_BEGIN

struct block_device;

/* A device's statistics since boot, in the kernel's units. */
struct bdev_stats {
	u64 ios[2]; /* reads, writes */
	u64 merges[2];
	u64 sectors[2]; /* 512 bytes each */
	u64 ns[2];
	u64 io_ticks; /* jiffies */
};

/* Sets @device to the device's number. Return: 0 or a negative error code. Context: may sleep. */
int lookup_bdev(const char *path, u32 *device);

/* Sums over all CPUs. Context: any. */
void helper_bdev_stats(struct block_device *device, struct bdev_stats *stats);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_BLOCK_H */
