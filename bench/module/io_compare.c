// SPDX-License-Identifier: GPL-2.0
/*
 * Completes bios of every kind on both sides. zem's counters are read from its IO snapshot, which
 * folds its 40 slots of latencies into buckets. The floor's are folded here.
 */
#include <linux/bio.h>
#include <linux/blk_types.h>
#include <linux/blkdev.h>
#include <linux/hash.h>
#include <linux/kdev_t.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/sched.h>
#include <linux/string.h>

#include <linux/zem.h>

#include "../../drivers/zem/kernel/helpers/compat.h"
#include "compare.h"
#include "handlers.h"
#include "io_compare.h"

#define STAMP_TIME GENMASK_ULL(50, 0)
#define STAMP_PAGE (1ULL << 54)
#define FOREGROUND_MARK BIT(13)

#define CASES 300
/* Latencies are in the first buckets: a bio of a longer time may be in none or in two. */
#define BUCKETS 3

struct results {
	u64 bios[3]; /* by kind */
	u64 pages[3]; /* by kind */
	u64 read_sizes[4];
	u64 total_times[4];
	u64 buckets[FLOOR_DEVICES][2][2][BUCKETS];
	u64 marks; /* bios that kept the mark */
	u64 stats[STATS_WORDS]; /* of the submitters, without the times */
	u64 times[2]; /* of the submitters: reads and writes */
};

static const struct endio_handlers *handlers;
static u64 marks_in_zem, marks_in_floor;

/* Return: a number below @limit that depends on the case and on @what. */
static unsigned int choose(unsigned int index, unsigned int what, unsigned int limit)
{
	return hash_32(index * 8 + what, 16) % limit;
}

static void make_bio(struct bio *bio, struct block_device *device, unsigned int index)
{
	static const blk_opf_t operations[] = {REQ_OP_READ, REQ_OP_READ | REQ_SYNC, REQ_OP_WRITE,
					       REQ_OP_WRITE | REQ_SYNC, REQ_OP_DISCARD};
	static const u32 pages[] = {0, 1, 2, 3, 8, 9, 100};
	/* ns for each page: far from the bounds of the slots and from multiples of 100 us. */
	static const u64 ages[] = {150000, 6050000, 22050000, 40050000};
	unsigned int which = choose(index, 0, FLOOR_DEVICES + 1);
	u32 size = pages[choose(index, 2, ARRAY_SIZE(pages))];
	u64 issued = ktime_get() - size * ages[choose(index, 3, ARRAY_SIZE(ages))];

	/* One device more than the tracked ones. */
	device->bd_dev = which < FLOOR_DEVICES ? handlers->devices[which] : MKDEV(4095, 1);
	bio_init(bio, NULL, NULL, 0, operations[choose(index, 1, ARRAY_SIZE(operations))]);
	bio->bi_bdev = device;
	bio->BIO_STAMP = (issued & STAMP_TIME) | size * STAMP_PAGE;
	bio->bi_flags = choose(index, 4, 2) ? FOREGROUND_MARK : 0;
}

static void end_bio(void (*endio)(void *data, struct bio *bio), unsigned int index, u64 *marks)
{
	static struct block_device device;
	struct bio bio;

	make_bio(&bio, &device, index);
	handlers->remember(&bio, bench_tasks[choose(index, 5, BENCH_TASKS)]->pid);
	endio(NULL, &bio);
	handlers->forget(&bio);
	*marks += !!(bio.bi_flags & FOREGROUND_MARK);
}

static void end_in_zem(unsigned int index)
{
	end_bio(handlers->endio, index, &marks_in_zem);
}

static void end_in_floor(unsigned int index)
{
	end_bio(floor_endio, index, &marks_in_floor);
}

static void read_submitters(struct results *results)
{
	size_t reads = offsetof(struct zem_svp_stats, bio_read_time) / sizeof(u64);
	size_t writes = offsetof(struct zem_svp_stats, bio_write_time) / sizeof(u64);
	u64 stats[STATS_WORDS];

	for (int i = 0; i < BENCH_TASKS; i++) {
		read_task_stats(bench_tasks[i], stats);
		results->times[0] += stats[reads];
		results->times[1] += stats[writes];
		stats[reads] = 0;
		stats[writes] = 0;
		for (size_t word = 0; word < STATS_WORDS; word++)
			results->stats[word] += stats[word];
	}
}

static void add_buckets(u64 *sums, const struct zem_io_latency *latency)
{
	for (int i = 0; i < BUCKETS; i++)
		sums[i] += latency->buckets[i];
}

/* Some counters of the snapshot are those of the last interval, which this ends. */
static void add_snapshot(struct results *sums, const struct zem_kio *kio)
{
	const struct zem_io_device *device = kio->devices;

	for (int i = 0; i < 4; i++)
		sums->read_sizes[i] += kio->read_sizes[i];
	/* The times are of all devices. */
	sums->total_times[0] += device->read_fg.total_time;
	sums->total_times[1] += device->write_fg.total_time;
	sums->total_times[2] += device->read_bg.total_time;
	sums->total_times[3] += device->write_bg.total_time;
}

static int read_zem(unsigned int index, u64 *words)
{
	static struct results intervals;
	const struct zem_kio *kio = get_all_kioind();
	struct results results;

	if (!kio)
		return -ENODATA;
	add_snapshot(&intervals, kio);
	results = intervals;
	results.bios[0] = kio->read_bios;
	results.bios[1] = kio->write_sync_bios;
	results.bios[2] = kio->write_async_bios;
	results.pages[0] = kio->read_pages;
	results.pages[1] = kio->write_sync_pages;
	results.pages[2] = kio->write_async_pages;
	for (int i = 0; i < FLOOR_DEVICES; i++) {
		add_buckets(results.buckets[i][0][0], &kio->devices[i].read_fg);
		add_buckets(results.buckets[i][0][1], &kio->devices[i].read_bg);
		add_buckets(results.buckets[i][1][0], &kio->devices[i].write_fg);
		add_buckets(results.buckets[i][1][1], &kio->devices[i].write_bg);
	}
	results.marks = marks_in_zem;
	read_submitters(&results);
	memcpy(words, &results, sizeof(results));
	return 0;
}

static void fold(u64 *buckets, const atomic_t *slots)
{
	for (int slot = 0; slot < 26; slot++)
		buckets[slot < 20 ? 0 : slot < 24 ? 1 : 2] += atomic_read(&slots[slot]);
}

static int read_floor(unsigned int index, u64 *words)
{
	struct results results = {.marks = marks_in_floor};

	for (int i = 0; i < 3; i++) {
		results.bios[i] = atomic_read(&floor_bios.counts[i]);
		results.pages[i] = atomic_read(&floor_bios.sizes[i]);
	}
	for (int i = 0; i < 4; i++) {
		results.read_sizes[i] = atomic64_read(&floor_bios.read_sizes[i]);
		results.total_times[i] = atomic64_read(&floor_bios.total_times[i]);
	}
	for (int i = 0; i < FLOOR_DEVICES * 4; i++)
		fold(results.buckets[i / 4][i / 2 % 2][i % 2],
		     floor_bios.latencies[i / 4][i / 2 % 2][i % 2]);
	read_submitters(&results);
	memcpy(words, &results, sizeof(results));
	return 0;
}

static const struct comparison endio_comparison = {
	.name = "blk_bio_endio",
	.cases = CASES,
	.results = sizeof(struct results) / sizeof(u64),
	.times = 2,
	.zem = {end_in_zem, read_zem},
	.floor = {end_in_floor, read_floor},
};

int compare_endio(const struct endio_handlers *which)
{
	static_assert(sizeof(struct results) <= MOST_RESULTS * sizeof(u64));
	handlers = which;
	return compare(&endio_comparison);
}
