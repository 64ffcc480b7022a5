/* SPDX-License-Identifier: GPL-2.0 */
/* Compares zem's handler of a bio's completion with the floor. */
#ifndef _ZEM_BENCH_IO_COMPARE_H
#define _ZEM_BENCH_IO_COMPARE_H

#include <linux/types.h>

#include "io_floor.h"

struct bio;

struct endio_handlers {
	void (*endio)(void *data, struct bio *bio); /* zem's */
	/* The platform's. */
	void (*remember)(const struct bio *bio, pid_t pid);
	void (*forget)(const struct bio *bio);
	dev_t devices[FLOOR_DEVICES]; /* the tracked ones, in zem's order */
};

/* bench_tasks are the submitters. May sleep. Return: 0, or -EINVAL if a result differs. */
int compare_endio(const struct endio_handlers *handlers);

#endif /* _ZEM_BENCH_IO_COMPARE_H */
