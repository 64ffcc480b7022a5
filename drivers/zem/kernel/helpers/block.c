// SPDX-License-Identifier: GPL-2.0
/* The macros of <linux/part_stat.h>. */
#include <linux/blkdev.h>
#include <linux/part_stat.h>

#include "../api/block.h"

void helper_bdev_stats(struct block_device *device, struct bdev_stats *stats)
{
	static const int groups[] = {STAT_READ, STAT_WRITE};

	for (size_t i = 0; i < ARRAY_SIZE(groups); i++) {
		stats->ios[i] = part_stat_read(device, ios[groups[i]]);
		stats->merges[i] = part_stat_read(device, merges[groups[i]]);
		stats->sectors[i] = part_stat_read(device, sectors[groups[i]]);
		stats->ns[i] = part_stat_read(device, nsecs[groups[i]]);
	}
	stats->io_ticks = part_stat_read(device, io_ticks);
}
