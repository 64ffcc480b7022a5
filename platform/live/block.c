// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hooks of bios from the block layer's events. Before 6.18 the kernel sets a bio's issue
 * stamp just before it queues the bio. Later kernels do not, so it is set here.
 *
 * No submission is raised for a bio that a stacking driver passes down, because it is part of a bio
 * that was submitted already. Only the driver knows its source, so no clone is raised either. The
 * block layer's own splits are raised as clones. The end of every bio is raised.
 *
 * zem's mark is bit 13 of a bio's flags, which is free on a device. From 6.10 on the bit says that
 * a write is an emulated zone append, and the block layer and file systems test it for any disk: a
 * bio that completes in parts fails, and btrfs rewrites the position of its checksums. In later
 * kernels it says that a bio must end in a task. So the bit is zem's only while a hook runs, and
 * the mark is kept beside the submitter between two hooks. The word of the stamp is lent in the
 * same way if the kernel uses it for something else. No hook is raised for bios of zoned devices.
 */
#include <linux/bio.h>
#include <linux/blk-mq.h>
#include <linux/blkdev.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/list.h>
#include <linux/llist.h>
#include <linux/sched.h>

#include <trace/events/block.h>

#include "common/compat.h"
#include "common/kernel_probes.h"
#include "contract.h"
#include "contract/hooks.h"
#include "contract/submitters.h"
#include "sources.h"

#ifndef CONFIG_BLK_CGROUP
#error "zem_platform needs a kernel with CONFIG_BLK_CGROUP, which has bios carry an issue stamp"
#endif

#define FOREGROUND_MARK BIT(13)

#define STAMP_TIME GENMASK_ULL(50, 0)
#define STAMP_SECTORS_SHIFT 51
#define STAMP_MOST_SECTORS 4095u

/* The kernel's values in a bio while zem's are there. */
struct kept {
	unsigned short flag;
	u64 stamp;
};

/* Puts zem's mark and stamp into a bio whose hook is raised next. */
static struct kept lend_to_zem(struct bio *bio)
{
	struct kept kept = {.flag = bio->bi_flags & FOREGROUND_MARK};

	bio->bi_flags &= ~FOREGROUND_MARK;
	if (submitter_mark(bio))
		bio->bi_flags |= FOREGROUND_MARK;
	if (BIO_IS_STAMPED_BY_PLATFORM) {
		kept.stamp = bio->BIO_STAMP;
		bio->BIO_STAMP = submitter_stamp(bio);
	}
	return kept;
}

/* Moves a bio's mark beside its submitter until the bio's next hook. */
static void take_back(struct bio *bio, struct kept kept)
{
	submitter_set_mark(bio, bio->bi_flags & FOREGROUND_MARK);
	bio->bi_flags &= ~FOREGROUND_MARK;
	bio->bi_flags |= kept.flag;
	if (BIO_IS_STAMPED_BY_PLATFORM)
		bio->BIO_STAMP = kept.stamp;
}

/* Stamps a remembered bio. A size that does not fit counts as the largest one. */
static void stamp(const struct bio *bio)
{
	u64 sectors = min(bio_sectors(bio), STAMP_MOST_SECTORS);

	if (BIO_IS_STAMPED_BY_PLATFORM)
		submitter_set_stamp(bio,
				    (ktime_get_ns() & STAMP_TIME) | sectors << STAMP_SECTORS_SHIFT);
}

/* The end function of a bio that is part of another one. The block layer does not export it. */
static bio_end_io_t *chain_endio;

static bool is_reported(const struct bio *bio)
{
	return bio->bi_bdev && !bdev_is_zoned(bio->bi_bdev);
}

static void on_queue(void *data, struct bio *bio)
{
	struct kept kept;

	if (!is_reported(bio))
		return;
	submitter_remember(bio, current->pid);
	stamp(bio);
	/* The list exists while a driver submits bios of its own. */
	if (current->bio_list)
		return;
	submitter_set_mark(bio, false);
	kept = lend_to_zem(bio);
	trace_android_vh_blk_bio_submit_record_task(bio);
	take_back(bio, kept);
}

/* The source is the rest of the bio, which the kernel submits again, and would stamp again. */
static void on_split(void *data, struct bio *split, unsigned int new_sector)
{
	struct bio *source = split->bi_private;
	struct kept of_split, of_source;

	/* Some events report a split of bios that are not chained to their source. */
	if (split->bi_end_io != chain_endio || !is_reported(split))
		return;
	submitter_remember(split, platform_bio_submitter(source));
	submitter_set_mark(split, false);
	stamp(split);
	of_split = lend_to_zem(split);
	of_source = lend_to_zem(source);
	trace_android_vh_blk_bio_clone_flag(split, source);
	take_back(split, of_split);
	take_back(source, of_source);
	stamp(source);
}

static void report_end(struct bio *bio)
{
	if (is_reported(bio)) {
		struct kept kept = lend_to_zem(bio);

		trace_android_vh_blk_bio_endio_record_bi_issue(bio);
		take_back(bio, kept);
	}
	submitter_forget(bio);
}

/* Handles bios that are in no request. */
static void on_bio_complete(void *data, struct request_queue *queue, struct bio *bio)
{
	report_end(bio);
}

/*
 * Runs before the block layer ends the request's bios up to @bytes. The bios of a flush sequence
 * are not ended here.
 */
static void on_request_complete(void *data, struct request *request, blk_status_t status,
				unsigned int bytes)
{
	if (request->rq_flags & RQF_FLUSH_SEQ)
		return;
	for (struct bio *bio = request->bio; bio; bio = bio->bi_next) {
		unsigned int done = min(bio->bi_iter.bi_size, bytes);

		if (done == bio->bi_iter.bi_size)
			report_end(bio);
		bytes -= done;
		if (!bytes)
			break;
	}
}

static struct kernel_probe probes[] = {
	{.name = "block_bio_queue", .probe = on_queue},
	{.name = "block_split", .probe = on_split},
	{.name = "block_bio_complete", .probe = on_bio_complete},
	{.name = "block_rq_complete", .probe = on_request_complete},
};

static void learn_chain_endio(void)
{
	struct bio part, whole;

	bio_init(&part, NULL, NULL, 0, 0);
	bio_init(&whole, NULL, NULL, 0, 0);
	bio_chain(&part, &whole);
	chain_endio = part.bi_end_io;
}

int live_block_start(void)
{
	check_trace_callback_type_block_bio_queue(on_queue);
	check_trace_callback_type_block_split(on_split);
	check_trace_callback_type_block_bio_complete(on_bio_complete);
	check_trace_callback_type_block_rq_complete(on_request_complete);

	learn_chain_endio();
	return kernel_probes_attach(probes, ARRAY_SIZE(probes));
}

void live_block_stop(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
	submitters_forget_all();
}
