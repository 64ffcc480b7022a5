/* SPDX-License-Identifier: GPL-2.0 */
/* Block devices: <linux/blkdev.h>, <linux/part_stat.h>. */
#ifndef _ZEM_KERNEL_API_BLOCK_H
#define _ZEM_KERNEL_API_BLOCK_H

#include "types.h"

ZEM_API_BEGIN

struct block_device;

/* A device's statistics since boot, as the kernel keeps them. */
struct bdev_stats {
	u64 ios[2]; /* reads, writes */
	u64 merges[2];
	u64 sectors[2]; /* 512 bytes each */
	u64 ns[2];
	u64 io_ticks; /* jiffies */
};

/* May sleep. Return: 0 with the device's number, or a negative error code. */
int lookup_bdev(const char *path, u32 *device);

/* Any context. The sum over all CPUs. */
void helper_bdev_stats(struct block_device *device, struct bdev_stats *stats);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_BLOCK_H */
