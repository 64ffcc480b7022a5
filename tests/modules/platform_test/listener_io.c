// SPDX-License-Identifier: GPL-2.0
/*
 * The listener on bios, reads and writes. It marks every bio as zem marks those of the foreground,
 * passes the mark on to clones and takes it off at the end, so that the kernel's ways are gone with
 * it. "device" takes MAJOR MINOR, asks the platform for that device and lets it go as zem does, and
 * shows its name and how many reads it has done. "tail" has the collector of long IO waits called.
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

#include "../../../platform/attach.h"
#include "contract.h"
#include "listener.h"

#define MARK BIT(13)
#define STAMP_TIME GENMASK_ULL(50, 0)
#define STAMP_SECTORS_SHIFT 51

static void on_submit(void *data, struct bio *bio)
{
	if (!bio->bi_bdev || (bio->bi_flags & MARK))
		note_absurd("a bio that is submitted", bio->bi_flags);
	bio->bi_flags |= MARK;
	add_amount(SUM_submit, current->pid, bio->bi_iter.bi_size);
}

static void on_clone(void *data, struct bio *clone, struct bio *source)
{
	if (clone == source || clone->bi_io_vec != source->bi_io_vec)
		note_absurd("a clone", clone->bi_flags);
	clone->bi_flags |= source->bi_flags & MARK;
	add_amount(SUM_clone, platform_bio_submitter(clone), clone->bi_iter.bi_size);
}

static void on_endio(void *data, struct bio *bio)
{
	u64 stamp = bio->bi_issue.value;
	pid_t submitter = platform_bio_submitter(bio);
	u64 latency = (ktime_get_ns() & STAMP_TIME) - (stamp & STAMP_TIME);

	add_time(SUM_endio, submitter, stamp & STAMP_TIME ? latency : 0);
	add_amount(SUM_endio_bytes, submitter, (stamp >> STAMP_SECTORS_SHIFT & 4095) << 9);
	if (bio->bi_flags & MARK)
		add_amount(SUM_marked, submitter, 0);
	bio->bi_flags &= ~MARK;
}

static void on_rchar(void *data, struct kiocb *kiocb, struct task_struct *task, s64 bytes)
{
	add_amount(SUM_rchar, task->pid, bytes);
}

static void on_wchar(void *data, struct kiocb *kiocb, struct task_struct *task, s64 bytes)
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

/* The tail's first, second and last byte, and how many in it and before it are not 0. */
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

static const struct hook_probe probes[] = {
	{&__tracepoint_android_vh_blk_bio_submit_record_task, on_submit, tracepoint_probe_register},
	{&__tracepoint_android_vh_blk_bio_clone_flag, on_clone, tracepoint_probe_register},
	{&__tracepoint_android_vh_blk_bio_endio_record_bi_issue, on_endio,
	 tracepoint_probe_register},
	{&__tracepoint_android_vh_task_rchar, on_rchar, tracepoint_probe_register},
	{&__tracepoint_android_vh_task_wchar, on_wchar, tracepoint_probe_register},
};

int listen_to_io(void)
{
	return attach_probes(probes, ARRAY_SIZE(probes));
}

void create_io_files(struct dentry *directory)
{
	debugfs_create_file("device", 0644, directory, NULL, &device_fops);
	debugfs_create_file("tail", 0444, directory, NULL, &tail_fops);
}
