// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the handlers of block IO, of reads and writes, of IO wait and of USB events. The calling
 * task gets a UID that zem knows. The SVP task is marked and waits for IO.
 */
#include <linux/bio.h>
#include <linux/blk_types.h>
#include <linux/blkdev.h>
#include <linux/cred.h>
#include <linux/fs.h>
#include <linux/kdev_t.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/sched.h>
#include <linux/tracepoint.h>
#include <linux/uidgid.h>

#include <linux/zem.h>

#include "../../drivers/zem/kernel/helpers/compat.h"
#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "handlers.h"
#include "io_compare.h"
#include "io_floor.h"
#include "processes.h"

#define SOME_BYTES 4096
#define SOME_TIME 90000
#define SOME_LATENCY 150000
#define STAMP_TIME GENMASK_ULL(50, 0)
#define STAMP_ONE_PAGE (1ULL << 54)
#define FOREGROUND_MARK BIT(13)

/* A function that zem does not export. */
#define GET_UID_STATE "_ZN3zem13get_uid_stateEj"
#define ABSENT_UID 9999

static const char *const paths[FLOOR_DEVICES] = {
	"/dev/block/sda",
	"/dev/block/sde",
	"/dev/block/by-name/super",
	"/dev/block/by-name/userdata",
};

/* A bio's argument, instead of an enum bench_task. The first two are by the task. */
enum { OF_ORDINARY, OF_IMPORTANT, UNTRACKED, MARKED, BIOS };

/* Handlers read only the devices' numbers. */
static struct block_device tracked_device;
static struct block_device untracked_device = {.bd_dev = MKDEV(4095, 1)};
static struct bio bios[BIOS];
static struct bio clone_bio;
static struct kiocb kiocb;
static const struct cred *callers_cred;

/* The stand-in platform keeps a bio's submitter; a device's kernel has a field of the bio. */
static struct endio_handlers handlers;

#define BIO (void *data, struct bio *bio)
#define TRANSFER (void *data, struct kiocb *iocb, struct task_struct *task, s64 bytes)

HANDLER(submit, BIO, NULL, &bios[kind])
HANDLER_WITH_FLOOR(endio, BIO, NULL, &bios[kind])
HANDLER(clone, (void *data, struct bio *clone, struct bio *source), NULL, &clone_bio, &bios[kind])
HANDLER(rchar, TRANSFER, NULL, &kiocb, bench_tasks[kind], SOME_BYTES)
HANDLER(wchar, TRANSFER, NULL, &kiocb, bench_tasks[kind], SOME_BYTES)
HANDLER(iowait, (void *data, struct task_struct *task, u64 delay), NULL, bench_tasks[kind],
	SOME_TIME)
HANDLER(usb, (void *data, void *pointer, int type), NULL, NULL, kind)
HANDLER_RETURNING(u32, get_uid_state, (u32 uid), kind)

static const struct handler_place places[] = {
	{&submit, &__tracepoint_android_vh_blk_bio_submit_record_task, 0},
	{&endio, &__tracepoint_android_vh_blk_bio_endio_record_bi_issue, 0},
	{&clone, &__tracepoint_android_vh_blk_bio_clone_flag, 0},
	{&rchar, &__tracepoint_android_vh_task_rchar, 0},
	{&wchar, &__tracepoint_android_vh_task_wchar, 0},
	{&iowait, &__tracepoint_android_vh_sched_stat_blocked, 0},
	{&usb, &__tracepoint_android_vh_usb_zem_set, 0},
};

static int find_handlers(void)
{
	get_uid_state = function_of(GET_UID_STATE);
	handlers.remember = function_of("submitter_remember");
	handlers.forget = function_of("submitter_forget");
	if (!get_uid_state || !handlers.remember || !handlers.forget ||
	    handlers_find(places, ARRAY_SIZE(places)))
		return -ENODEV;
	handlers.endio = endio;
	return 0;
}

static int track_devices(void)
{
	for (int i = 0; i < FLOOR_DEVICES; i++) {
		dev_t dev;
		int error = lookup_bdev(paths[i], &dev);

		if (error)
			return error;
		floor_track(i, dev);
		handlers.devices[i] = dev;
		/* The last row is the most expensive to find. */
		tracked_device.bd_dev = dev;
	}
	return 0;
}

/* Prepares reads of one page and their submitters. */
static void make_bios(void)
{
	u64 issued = ktime_get_ns() - SOME_LATENCY;

	for (int i = 0; i < BIOS; i++) {
		bio_init(&bios[i], NULL, NULL, 0, REQ_OP_READ);
		bios[i].bi_bdev = i == UNTRACKED ? &untracked_device : &tracked_device;
		bios[i].BIO_STAMP = (issued & STAMP_TIME) | STAMP_ONE_PAGE;
		bios[i].bi_flags = i == MARKED ? FOREGROUND_MARK : 0;
	}
	for (int i = 0; i < BENCH_TASKS; i++)
		handlers.remember(&bios[i], bench_tasks[i]->pid);
}

static int become_app(void)
{
	struct cred *cred = prepare_creds();

	if (!cred)
		return -ENOMEM;
	cred->uid = KUIDT_INIT(FIRST_UID);
	callers_cred = override_creds(cred);
	put_cred(cred);
	return 0;
}

static void io_end(void)
{
	if (callers_cred)
		revert_creds(callers_cred);
	callers_cred = NULL;
	for (int i = 0; i < BENCH_TASKS; i++)
		handlers.forget(&bios[i]);
	tasks_put();
}

static int io_begin(const int *numbers, unsigned int count)
{
	int error = find_handlers() ?: track_devices() ?: tasks_get(numbers, count);

	if (error)
		return error;
	if (!bench_tasks[IMPORTANT]->in_iowait || bench_tasks[ORDINARY]->in_iowait)
		error = -EINVAL;
	if (error) {
		tasks_put();
		return error;
	}
	make_bios();
	error = become_app();
	if (error) {
		io_end();
		return error;
	}
	/* zem learns the UID from its first bio. */
	submit(NULL, &bios[OF_ORDINARY]);
	return 0;
}

static int io_compare(void)
{
	return compare_endio(&handlers);
}

static const struct bench_row rows[] = {
	HANDLER_ROW("blk_bio_submit", "on", submit, OF_ORDINARY),
	FLOOR_ROW("blk_bio_endio", "untracked", endio, UNTRACKED),
	FLOOR_ROW("blk_bio_endio", "on", endio, OF_ORDINARY),
	FLOOR_ROW("blk_bio_endio", "svp", endio, OF_IMPORTANT),
	HANDLER_ROW("blk_bio_clone", "on", clone, OF_ORDINARY),
	HANDLER_ROW("blk_bio_clone", "marked", clone, MARKED),
	HANDLER_ROW("task_rchar", "on", rchar, ORDINARY),
	HANDLER_ROW("task_rchar", "svp", rchar, IMPORTANT),
	HANDLER_ROW("task_wchar", "on", wchar, ORDINARY),
	HANDLER_ROW("task_wchar", "svp", wchar, IMPORTANT),
	HANDLER_ROW("vh_sched_stat_blocked", "on", iowait, ORDINARY),
	HANDLER_ROW("vh_sched_stat_blocked", "svp", iowait, IMPORTANT),
	HANDLER_ROW("usb_zem_set", "new_disk", usb, ZEM_USB_NEW_DISK),
	HANDLER_ROW("get_uid_state", "known", get_uid_state, FIRST_UID),
	HANDLER_ROW("get_uid_state", "absent", get_uid_state, ABSENT_UID),
};

const struct bench_table io_table = {
	.name = "io",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = HANDLER_CALLS,
	.begin = io_begin,
	.compare = io_compare,
	.end = io_end,
};
