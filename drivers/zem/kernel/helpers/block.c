// SPDX-License-Identifier: GPL-2.0
/* The macros of <linux/part_stat.h>. */
#include <linux/blkdev.h>
#include <linux/part_stat.h>
#include <linux/version.h>

#include "../api/block.h"

/*
 * The mark of ../bio.h uses bit 13 of a bio's flags. The block layer does not use the bit before
 * 6.10, says with it that a write is an emulated zone append, and in later kernels that a bio ends
 * in a task. On such a kernel the platform lends the bit while a hook runs. Check the platform
 * against the flags of a kernel that has more of them.
 */
#if LINUX_VERSION_CODE < KERNEL_VERSION(6, 10, 0)
static_assert(BIO_FLAG_LAST <= 13);
#else
static_assert(BIO_FLAG_LAST <= 14);
#endif

/* Other CPUs update their counters without marked accesses, so the sums may be slightly old. */
void helper_bdev_stats(struct block_device *device, struct bdev_stats *stats)
{
	static const int groups[] = {STAT_READ, STAT_WRITE};

	for (size_t i = 0; i < ARRAY_SIZE(groups); i++) {
		stats->ios[i] = data_race(part_stat_read(device, ios[groups[i]]));
		stats->merges[i] = data_race(part_stat_read(device, merges[groups[i]]));
		stats->sectors[i] = data_race(part_stat_read(device, sectors[groups[i]]));
		stats->ns[i] = data_race(part_stat_read(device, nsecs[groups[i]]));
	}
	stats->io_ticks = data_race(part_stat_read(device, io_ticks));
}
