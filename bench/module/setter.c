// SPDX-License-Identifier: GPL-2.0
/* Measures one record by the size of its payload. */
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
	.end = floor_end,
};
