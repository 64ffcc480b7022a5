/* SPDX-License-Identifier: GPL-2.0 */
/* The listener's parts: the probes, and the sums that they add to. */
#ifndef _LISTENER_H
#define _LISTENER_H

#include <linux/atomic.h>
#include <linux/types.h>

#include "../attach.h"

struct dentry;

/* Each is defined in the file of its subject. */
PLATFORM_HOOKS(PROBE_PROTOTYPE)

/* Each has a count and a total: ns, cycles for the load feed, bytes for transfers. */
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
 * Counts an impossible event: a time that is longer than the uptime, a hook for an idle task, ...
 * The first one is shown behind the count. @what is a static string.
 */
void note_absurd(const char *what, u64 value);

/* Adds to a sum if the task is watched. */
void add_amount(enum sum_index index, pid_t pid, u64 amount);

/* As add_amount(), for ns. A time that is longer than the uptime is absurd. */
void add_time(enum sum_index index, pid_t pid, u64 time);

/* listener_io.c */
void create_io_files(struct dentry *directory);

/* listener_usb.c */
void create_usb_files(struct dentry *directory);
void forget_usb(void);

#endif /* _LISTENER_H */
