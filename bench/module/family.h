/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Collects a family of zem by a write to /sys/zem/trigger. The family is switched by its interval,
 * so that the cost of the write without the family can be subtracted. The caller has set the
 * intervals of all families to 0, except that of svp. May sleep.
 */
#ifndef _ZEM_BENCH_FAMILY_H
#define _ZEM_BENCH_FAMILY_H

struct file;

/* @interval: the name of its file in /sys/zem. Return: 0, or a negative error code. */
int family_open(const char *interval);
/* Leaves the family off. */
void family_close(void);

void family_on(void);
void family_off(void);

/* The call of a row. */
void collect(unsigned long unused);

#endif /* _ZEM_BENCH_FAMILY_H */
