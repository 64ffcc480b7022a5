/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The scheduler's statistics events, which a stock kernel does not export, under their own names as
 * tracepoints of this module. Not together with <trace/events/sched.h>, which declares the
 * kernel's.
 */
#ifndef _ZEM_PLATFORM_STAT_HOOKS_H
#define _ZEM_PLATFORM_STAT_HOOKS_H

#include <linux/tracepoint.h>
#include <linux/types.h>

struct task_struct;

DECLARE_TRACE(sched_stat_wait, TP_PROTO(struct task_struct *task, u64 delay), TP_ARGS(task, delay));
DECLARE_TRACE(sched_stat_blocked, TP_PROTO(struct task_struct *task, u64 delay),
	      TP_ARGS(task, delay));

#endif /* _ZEM_PLATFORM_STAT_HOOKS_H */
