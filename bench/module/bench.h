/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A row of the bench is one of zem's calls, with its floor: the same work written in plain C
 * against the kernel. main.c runs the tables of rows by name.
 */
#ifndef _ZEM_BENCH_H
#define _ZEM_BENCH_H

#include <linux/types.h>

typedef void (*bench_call)(unsigned long argument);

struct bench_row {
	const char *name;
	bench_call call;
	bench_call floor; /* NULL: none */
	bench_call empty; /* its cost is subtracted; NULL: that of an empty function */
	unsigned long argument;
	/* Called with the argument before each round, and not counted; may be NULL. */
	void (*settle)(unsigned long argument);
	void (*settle_empty)(unsigned long argument);
};

struct bench_table {
	const char *name;
	const struct bench_row *rows;
	unsigned int count;
	/* The number of calls in one measurement. */
	unsigned int calls;
	/* The calls sleep, so interrupts stay on. The least round is an undisturbed one. */
	bool sleeps;
	/* Receives the numbers after the table's name. May sleep; may be NULL. */
	int (*begin)(const int *numbers, unsigned int count);
	/* Compares the results of calls and floors before they are measured; may be NULL. */
	int (*compare)(void);
	void (*end)(void);
	/* Measures a row in ns instead of instructions; NULL: measure(). */
	u64 (*measure)(const struct bench_table *table, const struct bench_row *row,
		       bench_call call);
};

/*
 * Counts instructions in an emulation that executes one per nanosecond. May sleep.
 * Return: the instructions of one call, times 100, in the least of several rounds.
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
extern const struct bench_table contention_table;
extern const struct bench_table peers_table;

/* setter_floor.c: the work of a setter in plain C. */
int floor_begin(const int *numbers, unsigned int count);
void floor_end(void);
void floor_set(unsigned long long reserved, const void *data, int len, unsigned int sub_type);
/* Moves the last record out of the buffer. Return: its size; 0: none. */
size_t floor_take_record(void *record, size_t room);

#endif /* _ZEM_BENCH_H */
