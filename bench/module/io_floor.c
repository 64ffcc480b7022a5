// SPDX-License-Identifier: GPL-2.0
/*
 * Does the work of the handler as kernel code usually does: a chain of comparisons for the device,
 * atomics on the counters and on the task's block.
 */
#include <linux/atomic.h>
#include <linux/bio.h>
#include <linux/blk_types.h>
#include <linux/err.h>
#include <linux/ktime.h>
#include <linux/log2.h>
#include <linux/pid.h>
#include <linux/pid_namespace.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>

#include <linux/zem.h>

#include "../../drivers/zem/kernel/helpers/compat.h"
#include "../../drivers/zem/platform/contract.h"
#include "io_floor.h"

#define FOREGROUND_MARK BIT(13)
#define STAMP_TIME GENMASK_ULL(50, 0)
#define TIME_UNIT 100000

static int kioind_on = 1;
static dev_t devices[FLOOR_DEVICES];

struct floor_bios floor_bios;

void floor_track(unsigned int index, dev_t dev)
{
	WRITE_ONCE(devices[index], dev);
}

/* Caller holds rcu_read_lock(). Return: the counters of a task that is SVP and marked, or NULL. */
static struct zem_svp_stats *counted_stats(struct task_struct *task, struct task_ext **record)
{
	struct zem_svp_stats *stats;

	if (!task || !(test_task_svp(task) & 1))
		return NULL;
	*record = platform_task_ext(task);
	if (IS_ERR_OR_NULL(*record) || !READ_ONCE((*record)->svp_marker))
		return NULL;
	stats = smp_load_acquire(&(*record)->svp_stats);
	return stats && (test_task_orig_svp(task) & 1) ? stats : NULL;
}

static void count_for_submitter(struct bio *bio, unsigned int op, u32 pages, u64 latency)
{
	pid_t pid = platform_bio_submitter(bio);
	struct zem_svp_stats *stats;
	struct task_struct *task;
	struct task_ext *record;

	if (pid < 1 || op == REQ_OP_DISCARD)
		return;
	rcu_read_lock();
	task = pid_task(find_pid_ns(pid, &init_pid_ns), PIDTYPE_PID);
	stats = task && task->in_iowait ? counted_stats(task, &record) : NULL;
	if (stats && op & 1) {
		atomic64_add(pages * 4096ULL, (atomic64_t *)&stats->bio_write_size);
		atomic64_add(latency, (atomic64_t *)&stats->bio_write_time);
		atomic_inc((atomic_t *)&stats->bio_write_cnt);
	} else if (stats) {
		atomic64_add(pages * 4096ULL, (atomic64_t *)&stats->bio_read_size);
		atomic64_add(latency, (atomic64_t *)&stats->bio_read_time);
		atomic_inc((atomic_t *)&stats->bio_read_cnt);
	}
	rcu_read_unlock();
}

static void count_latency(unsigned int device, blk_opf_t opf, bool is_background, u32 pages,
			  u64 latency)
{
	unsigned int direction = opf & 1;
	u64 per_page = div_u64(latency, pages);
	int slot = ilog2(per_page);
	int kind = !direction ? 0 : opf & REQ_SYNC ? 1 : 2;

	if (slot >= FLOOR_SLOTS)
		return;
	atomic_inc(&floor_bios.latencies[device][direction][is_background][slot]);
	atomic_inc(&floor_bios.counts[kind]);
	atomic_add(pages, &floor_bios.sizes[kind]);
	atomic64_add(per_page / TIME_UNIT, &floor_bios.total_times[is_background * 2 + direction]);
}

void floor_endio(void *data, struct bio *bio)
{
	u64 stamp = bio->BIO_STAMP;
	unsigned int device, op;
	bool is_background;
	u64 latency;
	u32 pages;

	if (!bio->bi_bdev || !READ_ONCE(kioind_on) || !stamp)
		return;
	for (device = 0; device < FLOOR_DEVICES; device++)
		if (READ_ONCE(devices[device]) == bio->bi_bdev->bd_dev)
			break;
	pages = stamp >> 54 & 0x1ff;
	if (device == FLOOR_DEVICES || !pages)
		return;
	latency = (ktime_get() & STAMP_TIME) - (stamp & STAMP_TIME);
	op = bio_op(bio);
	is_background = !(bio->bi_flags & FOREGROUND_MARK);
	if (!is_background)
		bio->bi_flags &= ~FOREGROUND_MARK;
	if (pages <= latency && op != REQ_OP_DISCARD)
		count_latency(device, bio->bi_opf, is_background, pages, latency);
	if (!(op & 1))
		atomic64_inc(&floor_bios.read_sizes[pages == 1 ? 0 :
						    pages == 2 ? 1 :
						    pages <= 8 ? 2 :
								 3]);
	count_for_submitter(bio, op, pages, latency);
}
