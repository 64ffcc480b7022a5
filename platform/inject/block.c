// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hooks of bios, reads and writes. A bio is created for the call. "bio_flags" shows the
 * flags of the last bio after its hook.
 */
#include <linux/bio.h>
#include <linux/blkdev.h>
#include <linux/debugfs.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/limits.h>
#include <linux/seq_file.h>
#include <linux/threads.h>

#include "common/compat.h"
#include "contract/hooks.h"
#include "contract/submitters.h"
#include "injection.h"

/* An issue stamp has ns in the lower bits and 512-byte sectors above. */
#define STAMP_TIME GENMASK_ULL(50, 0)
#define STAMP_SECTORS_SHIFT 51
#define STAMP_MOST_SECTORS 4095
#define PAGE_SECTORS_4K 8

enum endio_numbers { OP, PAGES, LATENCY, FLAGS, PID };

static unsigned int last_flags;

/* The bio names the device but is never queued. */
static void make_bio(struct bio *bio, const struct injection *injection)
{
	bio_init(bio, NULL, NULL, 0, 0);
	bio->bi_bdev = injection->device;
}

static void raise_submit(const struct injection *injection)
{
	struct bio bio;

	make_bio(&bio, injection);
	trace_android_vh_blk_bio_submit_record_task(&bio);
	WRITE_ONCE(last_flags, bio.bi_flags);
}

static void raise_clone(const struct injection *injection)
{
	struct bio clone, source;

	make_bio(&clone, injection);
	make_bio(&source, injection);
	source.bi_flags = injection->numbers[0];
	trace_android_vh_blk_bio_clone_flag(&clone, &source);
	WRITE_ONCE(last_flags, clone.bi_flags);
}

static void raise_endio(const struct injection *injection)
{
	u64 issued = ktime_get_ns() - injection->numbers[LATENCY];
	u64 sectors = injection->numbers[PAGES] * PAGE_SECTORS_4K;
	struct bio bio;

	make_bio(&bio, injection);
	bio.bi_opf = (__force blk_opf_t)injection->numbers[OP];
	bio.bi_flags = injection->numbers[FLAGS];
	bio.BIO_STAMP = (issued & STAMP_TIME) | sectors << STAMP_SECTORS_SHIFT;
	submitter_remember(&bio, injection->numbers[PID]);
	trace_android_vh_blk_bio_endio_record_bi_issue(&bio);
	submitter_forget(&bio);
	WRITE_ONCE(last_flags, bio.bi_flags);
}

static void raise_rchar(const struct injection *injection)
{
	struct kiocb kiocb = {};

	trace_android_vh_task_rchar(&kiocb, injection->task, injection->numbers[0]);
}

static void raise_wchar(const struct injection *injection)
{
	struct kiocb kiocb = {.ki_flags = injection->dsync ? IOCB_DSYNC : 0};

	trace_android_vh_task_wchar(&kiocb, injection->task, injection->numbers[0]);
}

static int check_clone(struct injection *injection, char *const *words, int count)
{
	return injection->numbers[0] > U16_MAX ? -EINVAL : 0;
}

static int check_endio(struct injection *injection, char *const *words, int count)
{
	const u64 *numbers = injection->numbers;

	if (numbers[OP] > U32_MAX || numbers[PAGES] > STAMP_MOST_SECTORS / PAGE_SECTORS_4K ||
	    numbers[FLAGS] > U16_MAX || numbers[PID] >= PID_MAX_LIMIT)
		return -EINVAL;
	return 0;
}

const struct hook block_hooks[] = {
	{"vh_blk_bio_submit", "d", raise_submit},
	{"vh_blk_bio_clone", "dn", raise_clone, .prepare = check_clone},
	{"vh_blk_bio_endio", "dnnnnn", raise_endio, .prepare = check_endio},
	{"vh_task_rchar", "ps", raise_rchar},
	{"vh_task_wchar", "pso", raise_wchar},
	{},
};

static int bio_flags_show(struct seq_file *file, void *unused)
{
	seq_printf(file, "%x\n", READ_ONCE(last_flags));
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(bio_flags);

void inject_block_init(struct dentry *directory)
{
	debugfs_create_file("bio_flags", 0444, directory, NULL, &bio_flags_fops);
}
