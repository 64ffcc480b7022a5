// SPDX-License-Identifier: GPL-2.0
/* Measures one record by the size of its payload. */
#include <linux/delay.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/mm.h>
#include <linux/mman.h>
#include <linux/string.h>
#include <linux/uaccess.h>

#include <linux/zem.h>

#include "bench.h"

static u8 payload[4096];

static void set(unsigned long len)
{
	test_zem_set(0, payload, len, 7);
}

static void set_floor(unsigned long len)
{
	floor_set(0, payload, len, 7);
}

/* The writer of "run" maps the shared buffer for the time of the comparison. */
static unsigned long shared;
static u8 zem_record[ZEM_SHARED_SIZE], floor_record[ZEM_SHARED_SIZE];

static int map_shared(void)
{
	struct file *device = filp_open("/dev/zem_shared", O_RDONLY, 0);

	if (IS_ERR(device))
		return PTR_ERR(device);
	shared = vm_mmap(device, 0, ZEM_SHARED_SIZE, PROT_READ, MAP_SHARED, 0);
	filp_close(device, NULL);
	return IS_ERR_VALUE(shared) ? (int)shared : 0;
}

/*
 * Empties the shared buffer, as a reader does that has copied the records. Return: 0 if it was
 * empty, more if not, or an error code.
 */
static int hand_back(void)
{
	struct file *channel = filp_open("/sys/zem/test", O_RDONLY, 0);
	loff_t start = 0;
	ssize_t size;
	u32 held;

	if (IS_ERR(channel))
		return PTR_ERR(channel);
	size = kernel_read(channel, &held, sizeof(held), &start);
	filp_close(channel, NULL);
	return size;
}

/* Empties the shared buffer until the consumer has no record of an earlier event left. */
static int drain(void)
{
	int empty = 0;

	for (int round = 0; round < 200 && empty < 3; round++) {
		int error;

		msleep(50);
		error = hand_back();
		if (error < 0)
			return error;
		empty = error ? 0 : empty + 1;
	}
	return empty < 3 ? -EBUSY : 0;
}

/* Waits until the consumer has moved zem's record to the shared buffer. */
static int read_zem_record(void)
{
	const struct zem_record_header *header = (const void *)zem_record;
	bool arrived = false;

	for (int round = 0; round < 100; round++) {
		msleep(20);
		if (copy_from_user(zem_record, (const void __user *)shared, sizeof(zem_record)))
			return -EFAULT;
		/* The second copy after the arrival is whole. */
		if (arrived)
			return 0;
		arrived = header->timestamp;
	}
	return -ETIMEDOUT;
}

static bool is_same_record(size_t floor_size, u64 begin, u64 end)
{
	const struct zem_record_header *zem = (const void *)zem_record;
	const struct zem_record_header *floor = (const void *)floor_record;
	size_t size = sizeof(*zem) + zem->len;

	return floor_size >= size && zem->len == floor->len && zem->channel == floor->channel &&
	       zem->sub_type == floor->sub_type && zem->train_number == floor->train_number &&
	       begin <= zem->timestamp && zem->timestamp <= floor->timestamp &&
	       floor->timestamp <= end && !memcmp(zem + 1, floor + 1, zem->len);
}

/* One record of the length on both sides. */
static int compare_records(int len)
{
	u64 begin = ktime_get_real_ns();
	u64 end;
	size_t size;
	int error;

	for (int i = 0; i < len; i++)
		payload[i] = len + 3 * i;
	test_zem_set(0, payload, len, len);
	floor_set(0, payload, len, len);
	end = ktime_get_real_ns();
	size = floor_take_record(floor_record, sizeof(floor_record));
	error = read_zem_record() ?: min(hand_back(), 0);
	if (!error && !is_same_record(size, begin, end))
		error = -EINVAL;
	if (error)
		pr_err("zem_bench: records of %d bytes differ (%d), the figures are wrong\n", len,
		       error);
	return error;
}

static int setter_compare(void)
{
	static const int lengths[] = {1, 4, 232, 456, 3936};
	int error = map_shared();

	if (error)
		return error;
	error = drain();
	for (size_t i = 0; i < ARRAY_SIZE(lengths) && !error; i++)
		error = compare_records(lengths[i]);
	vm_munmap(shared, ZEM_SHARED_SIZE);
	return error;
}

#define SETTER_ROW(len) {.name = "setter/" #len, .call = set, .floor = set_floor, .argument = len}

static const struct bench_row rows[] = {
	SETTER_ROW(4),
	SETTER_ROW(232),
	SETTER_ROW(456),
	SETTER_ROW(3936),
};

const struct bench_table setter_table = {
	.name = "setter",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = 400,
	.begin = floor_begin,
	.compare = setter_compare,
	.end = floor_end,
};
