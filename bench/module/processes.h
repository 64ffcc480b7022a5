/* SPDX-License-Identifier: GPL-2.0 */
/* Processes that only sleep, for collections to walk over. They are kernel threads. */
#ifndef _ZEM_BENCH_PROCESSES_H
#define _ZEM_BENCH_PROCESSES_H

#include <linux/types.h>

struct bio;
struct task_struct;

/* The first of the UIDs that processes can belong to. */
#define FIRST_UID 10000

/*
 * Creates or ends processes until there are @count. New processes belong to @uids UIDs in turn, or
 * to root if @uids is 0. May sleep.
 */
void processes_make(unsigned long count, unsigned int uids);

/* Calls zem's handler of a submission for a UID's first bio. Return: 0 or an error code. */
int make_uid_known(void (*submit)(void *data, struct bio *bio), unsigned int uid);

/* The processes, process_count of them. */
extern struct task_struct *processes[];
extern unsigned long process_count;

#endif /* _ZEM_BENCH_PROCESSES_H */
