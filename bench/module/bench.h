/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A row of the bench: one call of ours beside the same written in plain C against the kernel.
 * Rows stand in a table of their family; main.c runs the tables.
 */
#ifndef _ZEM_BENCH_H
#define _ZEM_BENCH_H

#include <linux/types.h>

/* @argument: the row's own. Called with interrupts off, so that nothing else is counted. */
typedef void (*bench_call)(unsigned long argument);

struct bench_row {
	const char *name;
	bench_call call;
	bench_call floor; /* NULL: there is none */
	unsigned long argument;
	/* Run between rounds with interrupts on; NULL: nothing to do. */
	void (*settle)(void);
};

struct bench_table {
	const struct bench_row *rows;
	unsigned int count;
	/* Before the first and after the last row; NULL: nothing to do. */
	int (*begin)(void);
	void (*end)(void);
};

/*
 * Under an emulation that executes one instruction in a nanosecond: instructions of one call, times
 * 100, the least of several rounds. Process context; may sleep.
 */
u64 measure(bench_call call, unsigned long argument, void (*settle)(void));

/* setter.c */
extern const struct bench_table setter_table;

/* setter_floor.c: what a setter has to do, and nothing else. */
int floor_begin(void);
void floor_end(void);
void floor_set(unsigned long long reserved, const void *data, int len, unsigned int sub_type);

#endif /* _ZEM_BENCH_H */
