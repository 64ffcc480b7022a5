/* SPDX-License-Identifier: GPL-2.0 */
/* Processes that only sleep, for collections to walk over: threads of the kernel. */
#ifndef _ZEM_BENCH_PROCESSES_H
#define _ZEM_BENCH_PROCESSES_H

#include <linux/types.h>

struct task_struct;

/* The first of the UIDs that processes can belong to. */
#define FIRST_UID 10000

/*
 * Makes or ends processes until there are so many. @uids: those that are made belong to so many
 * UIDs in turn; 0: to root. May sleep.
 */
void processes_make(unsigned long count, unsigned int uids);

/* The processes that there are. */
extern struct task_struct *processes[];
extern unsigned long process_count;

#endif /* _ZEM_BENCH_PROCESSES_H */
