// SPDX-License-Identifier: GPL-2.0
/*
 * Listens on bios, reads and writes. Marks every bio as zem marks those of the foreground, copies
 * the mark to clones and clears it at the end, so that marked bios take all of the kernel's paths.
 * "device" takes MAJOR MINOR, gets and puts that device as zem does, and shows its name and its
 * number of reads. "tail" calls the collector of long IO waits.
 */
#include <linux/bio.h>
#include <linux/blkdev.h>
#include <linux/debugfs.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/module.h>
#include <linux/part_stat.h>
#include <linux/sched.h>
#include <linux/seq_file.h>

#include <linux/zem.h>

#include "../../../drivers/zem/kernel/helpers/compat.h"
#include "listener.h"

#define MARK BIT(13)
#define STAMP_TIME GENMASK_ULL(50, 0)
#define STAMP_SECTORS_SHIFT 51

void on_android_vh_blk_bio_submit_record_task(void *data, struct bio *bio)
{
	if (!bio->bi_bdev || (bio->bi_flags & MARK))
		note_absurd("a bio that is submitted", bio->bi_flags);
	bio->bi_flags |= MARK;
	add_amount(SUM_submit, current->pid, bio->bi_iter.bi_size);
}

void on_android_vh_blk_bio_clone_flag(void *data, struct bio *clone, struct bio *source)
{
	if (clone == source || clone->bi_io_vec != source->bi_io_vec)
		note_absurd("a clone", clone->bi_flags);
	clone->bi_flags |= source->bi_flags & MARK;
	add_amount(SUM_clone, platform_bio_submitter(clone), clone->bi_iter.bi_size);
}

void on_android_vh_blk_bio_endio_record_bi_issue(void *data, struct bio *bio)
{
	u64 stamp = bio->BIO_STAMP;
	pid_t submitter = platform_bio_submitter(bio);
	u64 latency = (ktime_get_ns() & STAMP_TIME) - (stamp & STAMP_TIME);

	add_time(SUM_endio, submitter, stamp & STAMP_TIME ? latency : 0);
	add_amount(SUM_endio_bytes, submitter, (stamp >> STAMP_SECTORS_SHIFT & 4095) << 9);
	if (bio->bi_flags & MARK)
		add_amount(SUM_marked, submitter, 0);
	bio->bi_flags &= ~MARK;
}

void on_android_vh_task_rchar(void *data, struct kiocb *kiocb, struct task_struct *task, s64 bytes)
{
	add_amount(SUM_rchar, task->pid, bytes);
}

void on_android_vh_task_wchar(void *data, struct kiocb *kiocb, struct task_struct *task, s64 bytes)
{
	add_amount(kiocb->ki_flags & IOCB_DSYNC ? SUM_wchar_sync : SUM_wchar, task->pid, bytes);
}

static struct block_device *device;

static ssize_t device_write(struct file *file, const char __user *from, size_t count, loff_t *at)
{
	unsigned int major, minor;
	char text[32];

	if (count >= sizeof(text) || copy_from_user(text, from, count))
		return -EINVAL;
	text[count] = '\0';
	if (sscanf(text, "%u %u", &major, &minor) != 2)
		return -EINVAL;
	device = platform_bdev_get_no_open(MKDEV(major, minor));
	if (!device)
		return -ENODEV;
	platform_bdev_put_no_open(device);
	return count;
}

static int device_show(struct seq_file *file, void *unused)
{
	if (device)
		seq_printf(file, "%pg %lu\n", device, part_stat_read(device, ios[STAT_READ]));
	return 0;
}

static int device_open(struct inode *inode, struct file *file)
{
	return single_open(file, device_show, NULL);
}

static const struct file_operations device_fops = {
	.owner = THIS_MODULE,
	.open = device_open,
	.read = seq_read,
	.write = device_write,
	.llseek = seq_lseek,
	.release = single_release,
};

/*
 * Shows the first, second and last byte of the tail, and the number of bytes that are not 0 in the
 * tail and before it.
 */
static int tail_show(struct seq_file *file, void *unused)
{
	static struct zem_kio snapshot;
	const u8 *tail = snapshot.tail;
	const u8 *all = (const u8 *)&snapshot;
	int before = 0, in = 0;

	gather_long_iowait_file(&snapshot);
	for (size_t i = 0; i < sizeof(snapshot); i++)
		*(all + i < tail ? &before : &in) += all[i] != 0;
	seq_printf(file, "%u %u %u %d %d\n", tail[0], tail[1], tail[sizeof(snapshot.tail) - 1], in,
		   before);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(tail);

void create_io_files(struct dentry *directory)
{
	debugfs_create_file("device", 0644, directory, NULL, &device_fops);
	debugfs_create_file("tail", 0444, directory, NULL, &tail_fops);
}
