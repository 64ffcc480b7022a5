// SPDX-License-Identifier: GPL-2.0
/*
 * The ways of bios, from the block layer's events. Each has its issue stamp when it is queued: the
 * kernel sets it just before.
 *
 * A bio that a stacking driver passes down is part of one that was submitted already: it is not
 * told as a submission of its own, and of what it is a clone only its driver knows. The block
 * layer's own splits are told as clones. The end is told of every bio.
 *
 * zem's mark is bit 13 of a bio's flags, which is free on a device. From 6.10 on that bit says that
 * a write is an emulated zone append, and the block layer and file systems look at it for any disk:
 * a bio that completes in parts fails, and btrfs rewrites the place of its checksums. So the bit is
 * set only while a hook runs, and the mark is kept beside the submitter from one hook to the next.
 * Bios of zoned devices may have the kernel's own bit: no hook is raised for them.
 */
#include <linux/bio.h>
#include <linux/blk-mq.h>
#include <linux/blkdev.h>
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/llist.h>
#include <linux/sched.h>

#include <trace/events/block.h>

#include "contract.h"
#include "hooks.h"
#include "kernel_probes.h"
#include "live.h"
#include "submitters.h"

#ifndef CONFIG_BLK_CGROUP
#error "zem_platform needs a kernel with CONFIG_BLK_CGROUP, which has bios carry an issue stamp"
#endif

#define FOREGROUND_MARK BIT(13)

/* Keeps a bio's mark beside its submitter until the bio's next hook. */
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

/* What ends a bio that is part of another one. The block layer does not export it. */
static bio_end_io_t *chain_endio;

static bool is_told(const struct bio *bio)
{
	return bio->bi_bdev && !bdev_is_zoned(bio->bi_bdev);
}

static void on_queue(void *data, struct bio *bio)
{
	if (!is_told(bio))
		return;
	submitter_remember(bio, current->pid);
	/* There is a list while a driver's own submission runs. */
	if (current->bio_list)
		return;
	trace_android_vh_blk_bio_submit_record_task(bio);
	put_mark_aside(bio);
}

static void on_split(void *data, struct bio *split, unsigned int new_sector)
{
	struct bio *source = split->bi_private;

	/* Others that are told as split are not chained to what they were split from. */
	if (split->bi_end_io != chain_endio || !is_told(split))
		return;
	submitter_remember(split, platform_bio_submitter(source));
	bring_mark_back(source);
	trace_android_vh_blk_bio_clone_flag(split, source);
	put_mark_aside(split);
	put_mark_aside(source);
}

static void tell_end(struct bio *bio)
{
	if (is_told(bio)) {
		bring_mark_back(bio);
		trace_android_vh_blk_bio_endio_record_bi_issue(bio);
		put_mark_aside(bio);
	}
	submitter_forget(bio);
}

/* Of bios that are in no request. */
static void on_bio_complete(void *data, struct request_queue *queue, struct bio *bio)
{
	tell_end(bio);
}

/* Before the request's bios are ended as far as the bytes go, but for those of a flush sequence. */
static void on_request_complete(void *data, struct request *request, blk_status_t status,
				unsigned int bytes)
{
	if (request->rq_flags & RQF_FLUSH_SEQ)
		return;
	for (struct bio *bio = request->bio; bio; bio = bio->bi_next) {
		unsigned int done = min(bio->bi_iter.bi_size, bytes);

		if (done == bio->bi_iter.bi_size)
			tell_end(bio);
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
