/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A row of the bench: one call of ours beside the same written in plain C against the kernel.
 * Rows stand in a table of their family, which main.c runs by name.
 */
#ifndef _ZEM_BENCH_H
#define _ZEM_BENCH_H

#include <linux/types.h>

typedef void (*bench_call)(unsigned long argument);

struct bench_row {
	const char *name;
	bench_call call;
	bench_call floor; /* NULL: there is none */
	bench_call empty; /* what is around the call, and not counted; NULL: a function's call */
	unsigned long argument;
	/* Run with the argument before each round, not counted; NULL: nothing to do. */
	void (*settle)(unsigned long argument);
	void (*settle_empty)(unsigned long argument);
};

struct bench_table {
	const char *name;
	const struct bench_row *rows;
	unsigned int count;
	/* Calls in a row for one measurement. */
	unsigned int calls;
	/* The calls sleep: interrupts stay on, and a round that was disturbed is not the least. */
	bool sleeps;
	/* With the numbers behind the table's name. May sleep; may be NULL. */
	int (*begin)(const int *numbers, unsigned int count);
	void (*end)(void);
	/* Another way of measuring a row, with ns for instructions; NULL: measure(). */
	u64 (*measure)(const struct bench_table *table, const struct bench_row *row,
		       bench_call call);
};

/*
 * Under an emulation that executes one instruction in a nanosecond: instructions of one call, times
 * 100, the least of several rounds. Process context; may sleep.
 */
u64 measure(const struct bench_table *table, const struct bench_row *row, bench_call call);

extern const struct bench_table setter_table;
extern const struct bench_table sched_off_table;
extern const struct bench_table sched_on_table;
extern const struct bench_table collection_table;
extern const struct bench_table load_off_table;
extern const struct bench_table load_on_table;
extern const struct bench_table no_foreground_table;
extern const struct bench_table load_collection_table;
extern const struct bench_table io_table;
extern const struct bench_table io_collection_table;
extern const struct bench_table io_contention_table;

/* setter_floor.c: what a setter has to do, and nothing else. */
int floor_begin(const int *numbers, unsigned int count);
void floor_end(void);
void floor_set(unsigned long long reserved, const void *data, int len, unsigned int sub_type);

#endif /* _ZEM_BENCH_H */
