/* SPDX-License-Identifier: GPL-2.0 */
/* The handler of a bio's completion in plain C, with the same logic as zem's. */
#ifndef _ZEM_BENCH_IO_FLOOR_H
#define _ZEM_BENCH_IO_FLOOR_H

#include <linux/atomic.h>
#include <linux/types.h>

struct bio;

#define FLOOR_DEVICES 4
/* A slot for each power of two of the ns for each 4 KiB. */
#define FLOOR_SLOTS 40

/* The counters of completed bios, by the device's index, the direction and "is background". */
struct floor_bios {
	atomic_t latencies[FLOOR_DEVICES][2][2][FLOOR_SLOTS];
	atomic_t counts[3]; /* reads, synchronous writes, other writes */
	atomic_t sizes[3]; /* 4 KiB pages, by kind */
	atomic64_t total_times[4]; /* 100 us per 4 KiB; is_background * 2 + direction */
	atomic64_t read_sizes[4]; /* reads of 1, 2, 3 to 8, and more pages */
};
extern struct floor_bios floor_bios;

/* Sets the number of the tracked device @index. */
void floor_track(unsigned int index, dev_t dev);

/* Called through a pointer, with the arguments of the hook. */
void floor_endio(void *data, struct bio *bio);

#endif /* _ZEM_BENCH_IO_FLOOR_H */
