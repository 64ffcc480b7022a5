// SPDX-License-Identifier: GPL-2.0
/* The cost of one record, by the size of its payload. */
#include <linux/kernel.h>

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

static const struct bench_row rows[] = {
	{"setter/4", set, set_floor, 4},
	{"setter/232", set, set_floor, 232},
	{"setter/456", set, set_floor, 456},
	{"setter/3936", set, set_floor, 3936},
};

const struct bench_table setter_table = {
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.begin = floor_begin,
	.end = floor_end,
};
