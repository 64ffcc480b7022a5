/* SPDX-License-Identifier: GPL-2.0 */
/* Compares the results of a call of zem with those of its floor: only equal work has equal results.
 */
#ifndef _ZEM_BENCH_COMPARE_H
#define _ZEM_BENCH_COMPARE_H

#include <linux/types.h>
#include <linux/zem.h>

struct task_struct;

/* The number of results that a case may have. */
#define MOST_RESULTS 128
#define STATS_WORDS (sizeof(struct zem_svp_stats) / sizeof(u64))

/* One side of a comparison: zem or the floor. */
struct compared_side {
	/* Context: interrupts off. */
	void (*call)(unsigned int index);
	/*
	 * Reads counters that the call adds to, for the case @index. May sleep.
	 * Return: 0 or an error code.
	 */
	int (*read)(unsigned int index, u64 *results);
};

struct comparison {
	const char *name;
	unsigned int cases;
	size_t results;
	/* The number of results, at the end, that contain the time from the call to its clock. */
	size_t times;
	struct compared_side zem;
	struct compared_side floor;
};

/* Logs the first difference. May sleep. Return: 0 if both sides add the same in every case. */
int compare(const struct comparison *comparison);

/* Copies the STATS_WORDS of the task's counters; zeros for a task without counters. */
void read_task_stats(struct task_struct *task, u64 *words);

#endif /* _ZEM_BENCH_COMPARE_H */
