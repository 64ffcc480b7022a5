/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The vendor hooks that a stock kernel lacks, as tracepoints of this module. Raising one costs a
 * static branch while nobody listens; its arguments are then not computed either. The contract's
 * header says in which context each is raised.
 */
#ifndef _ZEM_PLATFORM_HOOKS_H
#define _ZEM_PLATFORM_HOOKS_H

#include <linux/tracepoint.h>
#include <linux/types.h>

struct bio;
struct kiocb;
struct module;
struct task_struct;

DECLARE_TRACE(android_vh_sched_info_depart, TP_PROTO(struct task_struct *task, u64 runtime),
	      TP_ARGS(task, runtime));
DECLARE_TRACE(android_vh_rs_warn_set_svp_task, TP_PROTO(struct task_struct *task), TP_ARGS(task));
DECLARE_TRACE(android_rvh_sched_info_dequeued, TP_PROTO(struct task_struct *task, u64 delay),
	      TP_ARGS(task, delay));
DECLARE_TRACE(android_rvh_sched_info_arrive,
	      TP_PROTO(struct task_struct *task, u64 ignored, u64 delay),
	      TP_ARGS(task, ignored, delay));
DECLARE_TRACE(android_rvh_irqtime_account_hardirq, TP_PROTO(u64 delta), TP_ARGS(delta));
DECLARE_TRACE(android_vh_task_d_state_dura_record, TP_PROTO(struct task_struct *task, u64 duration),
	      TP_ARGS(task, duration));
DECLARE_TRACE(android_vh_sched_stat_blocked, TP_PROTO(struct task_struct *task, u64 delay),
	      TP_ARGS(task, delay));
DECLARE_TRACE(android_vh_blk_bio_submit_record_task, TP_PROTO(struct bio *bio), TP_ARGS(bio));
DECLARE_TRACE(android_vh_blk_bio_clone_flag, TP_PROTO(struct bio *clone, struct bio *source),
	      TP_ARGS(clone, source));
DECLARE_TRACE(android_vh_blk_bio_endio_record_bi_issue, TP_PROTO(struct bio *bio), TP_ARGS(bio));
DECLARE_TRACE(android_vh_task_rchar,
	      TP_PROTO(struct kiocb *kiocb, struct task_struct *task, s64 bytes),
	      TP_ARGS(kiocb, task, bytes));
DECLARE_TRACE(android_vh_task_wchar,
	      TP_PROTO(struct kiocb *kiocb, struct task_struct *task, s64 bytes),
	      TP_ARGS(kiocb, task, bytes));
DECLARE_TRACE(android_vh_usb_zem_set, TP_PROTO(void *pointer, int type), TP_ARGS(pointer, type));

/* Takes the probes of a module that is going off all hooks, and waits until none runs. Sleeps. */
void hooks_release(const struct module *module);

#endif /* _ZEM_PLATFORM_HOOKS_H */
