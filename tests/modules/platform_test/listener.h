/* SPDX-License-Identifier: GPL-2.0 */
/* What the listener's parts share: the sums that they add to. */
#ifndef _LISTENER_H
#define _LISTENER_H

#include <linux/atomic.h>
#include <linux/types.h>

struct dentry;

/* Count and total of each: ns; cycles for the load feed, bytes for what is read and written. */
/* clang-format off */
#define SUMS(X) \
	X(depart) \
	X(announced) \
	X(dequeued) \
	X(arrive) \
	X(hardirq) \
	X(d_state) \
	X(wait) \
	X(blocked) \
	X(vendor_blocked) \
	X(load0) \
	X(load1) \
	X(submit) \
	X(clone) \
	X(endio) \
	X(endio_bytes) \
	X(marked) \
	X(rchar) \
	X(wchar) \
	X(wchar_sync)
/* clang-format on */

enum sum_index {
#define SUM_INDEX(name) SUM_##name,
	SUMS(SUM_INDEX)
#undef SUM_INDEX
};

/*
 * Counts what cannot be: a time longer than the machine is up, a hook for an idle task, ... The
 * first is kept, to be shown behind the count. @what is static.
 */
void note_absurd(const char *what, u64 value);

/* Adds to a sum, if the task is the watched one or all are. */
void add_amount(enum sum_index index, pid_t pid, u64 amount);

/* The same for ns; also absurd when it is longer than the machine is up. */
void add_time(enum sum_index index, pid_t pid, u64 time);

/* listener_io.c. Return: 0 or an error code. */
int listen_to_io(void);
void create_io_files(struct dentry *directory);

/* listener_usb.c, likewise. */
int listen_to_usb(void);
void create_usb_files(struct dentry *directory);
void forget_usb(void);

#endif /* _LISTENER_H */
