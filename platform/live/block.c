// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hooks of bios from the block layer's events. The kernel sets a bio's issue stamp just
 * before it queues the bio.
 *
 * No submission is raised for a bio that a stacking driver passes down, because it is part of a bio
 * that was submitted already. Only the driver knows its source, so no clone is raised either. The
 * block layer's own splits are raised as clones. The end of every bio is raised.
 *
 * zem's mark is bit 13 of a bio's flags, which is free on a device. From 6.10 on the bit says that
 * a write is an emulated zone append, and the block layer and file systems test it for any disk: a
 * bio that completes in parts fails, and btrfs rewrites the position of its checksums. So the bit
 * is set only while a hook runs, and the mark is kept beside the submitter between two hooks. No
 * hook is raised for bios of zoned devices, which may have the kernel's own bit.
 */
#include <linux/bio.h>
#include <linux/blk-mq.h>
#include <linux/blkdev.h>
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/llist.h>
#include <linux/sched.h>

#include <trace/events/block.h>

#include "common/kernel_probes.h"
#include "contract.h"
#include "contract/hooks.h"
#include "contract/submitters.h"
#include "sources.h"

#ifndef CONFIG_BLK_CGROUP
#error "zem_platform needs a kernel with CONFIG_BLK_CGROUP, which has bios carry an issue stamp"
#endif

#define FOREGROUND_MARK BIT(13)

/* Moves a bio's mark beside its submitter until the bio's next hook. */
static void put_mark_aside(struct bio *bio)
{
	submitter_set_mark(bio, bio->bi_flags & FOREGROUND_MARK);
	bio->bi_flags &= ~FOREGROUND_MARK;
}

static void bring_mark_back(struct bio *bio)
{
	if (submitter_mark(bio))
		bio->bi_flags |= FOREGROUND_MARK;
}

/* The end function of a bio that is part of another one. The block layer does not export it. */
static bio_end_io_t *chain_endio;

static bool is_reported(const struct bio *bio)
{
	return bio->bi_bdev && !bdev_is_zoned(bio->bi_bdev);
}

static void on_queue(void *data, struct bio *bio)
{
	if (!is_reported(bio))
		return;
	submitter_remember(bio, current->pid);
	/* The list exists while a driver submits bios of its own. */
	if (current->bio_list)
		return;
	trace_android_vh_blk_bio_submit_record_task(bio);
	put_mark_aside(bio);
}

static void on_split(void *data, struct bio *split, unsigned int new_sector)
{
	struct bio *source = split->bi_private;

	/* Some events report a split of bios that are not chained to their source. */
	if (split->bi_end_io != chain_endio || !is_reported(split))
		return;
	submitter_remember(split, platform_bio_submitter(source));
	bring_mark_back(source);
	trace_android_vh_blk_bio_clone_flag(split, source);
	put_mark_aside(split);
	put_mark_aside(source);
}

static void report_end(struct bio *bio)
{
	if (is_reported(bio)) {
		bring_mark_back(bio);
		trace_android_vh_blk_bio_endio_record_bi_issue(bio);
		put_mark_aside(bio);
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
