// SPDX-License-Identifier: GPL-2.0
/*
 * Measures the collection of the IO snapshot by the number of UIDs and of processes, which belong
 * to the UIDs in turn. Every UID has been collected before, so that it takes part in the top lists.
 */
#include <linux/delay.h>
#include <linux/kernel.h>
#include <linux/limits.h>
#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "family.h"
#include "handlers.h"
#include "processes.h"

#define SHAPE(processes, uids) ((unsigned long)(processes) << 16 | (uids))

/* The row that zem and the processes are set up for. */
static unsigned long shape;

static void (*submit)(void *data, struct bio *bio);
/* Forgets any range of UIDs. A write to remove_uid_range cannot name the kernel's own. */
static void (*forget)(s64 first, s64 last);

static void set_up(unsigned long wanted)
{
	unsigned int uids = wanted & 0xffff;

	if (wanted == shape)
		return;
	shape = wanted;
	processes_make(0, 0);
	processes_make(wanted >> 16, uids);
	/* Waits until all processes have changed their UID. */
	msleep(500);
	forget(0, U32_MAX);
	for (unsigned int i = 0; i < uids; i++)
		if (make_uid_known(submit, FIRST_UID + i))
			pr_err_once("zem_bench: too few UIDs are known, the figures are wrong\n");
	family_on();
	collect(0);
	family_off();
}

static void settle(unsigned long wanted)
{
	set_up(wanted);
	family_on();
}

static void settle_empty(unsigned long wanted)
{
	set_up(wanted);
	family_off();
}

static void collection_end(void)
{
	processes_make(0, 0);
	forget(0, U32_MAX);
	shape = 0;
	family_close();
}

static int collection_begin(const int *numbers, unsigned int count)
{
	submit = probe_of(&__tracepoint_android_vh_blk_bio_submit_record_task, 0);
	forget = function_of("_ZN3zem11forget_uidsExx");
	return submit && forget ? family_open("kioind_interval") : -ENODEV;
}

#define KIO_ROW(label, processes, uids)      \
	{.name = "kio_collection/" label,    \
	 .call = collect,                    \
	 .empty = collect,                   \
	 .argument = SHAPE(processes, uids), \
	 .settle = settle,                   \
	 .settle_empty = settle_empty}

static const struct bench_row rows[] = {
	KIO_ROW("10", 2000, 10),
	KIO_ROW("100", 2000, 100),
	KIO_ROW("1000", 2000, 1000),
	KIO_ROW("10/200_threads", 200, 10),
	KIO_ROW("1000/200_threads", 200, 1000),
};

const struct bench_table io_collection_table = {
	.name = "io_collection",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = 1,
	.sleeps = true,
	.begin = collection_begin,
	.end = collection_end,
};
