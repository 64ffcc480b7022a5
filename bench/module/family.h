/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A family of zem's that is collected by a write to /sys/zem/trigger, and switched by its interval:
 * what the write costs without the family is taken off. The caller has set the intervals of all
 * families to 0 but that of svp. May sleep.
 */
#ifndef _ZEM_BENCH_FAMILY_H
#define _ZEM_BENCH_FAMILY_H

struct file;

/* @interval: the name of its file in /sys/zem. Return: 0, or a negative error code. */
int family_open(const char *interval);
/* Leaves it off. */
void family_close(void);

void family_on(void);
void family_off(void);

/* The call of a row. */
void collect(unsigned long unused);

#endif /* _ZEM_BENCH_FAMILY_H */
