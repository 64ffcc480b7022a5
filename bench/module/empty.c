// SPDX-License-Identifier: GPL-2.0
/*
 * zem_empty.ko: what it costs to be told. Handlers that do nothing, on each hook that zem has a
 * handler on. It stays until the machine goes.
 */
#include <linux/blk_types.h>
#include <linux/fs.h>
#include <linux/init.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/sched.h>

#include "../../drivers/zem/platform/contract.h"
#include "../../platform/attach.h"

static void on_time(void *data, struct task_struct *task, u64 time)
{
}

/* A hook takes a handler once, and this one has two. */
static void on_depart_too(void *data, struct task_struct *task, u64 time)
{
}

static void on_task(void *data, struct task_struct *task)
{
}

static void on_arrive(void *data, struct task_struct *task, u64 ignored, u64 delay)
{
}

static void on_hardirq(void *data, u64 delta)
{
}

static void on_bio(void *data, struct bio *bio)
{
}

static void on_clone(void *data, struct bio *clone, struct bio *source)
{
}

static void on_transfer(void *data, struct kiocb *kiocb, struct task_struct *task, s64 bytes)
{
}

static void on_usb(void *data, void *report, int type)
{
}

static void on_load(struct task_struct *task, u32 cluster, u64 delta)
{
}

static const struct hook_probe probes[] = {
	{&__tracepoint_android_vh_sched_info_depart, on_time, tracepoint_probe_register},
	{&__tracepoint_android_vh_sched_info_depart, on_depart_too, tracepoint_probe_register},
	{&__tracepoint_android_vh_rs_warn_set_svp_task, on_task, tracepoint_probe_register},
	{&__tracepoint_android_rvh_sched_info_dequeued, on_time, android_rvh_probe_register},
	{&__tracepoint_android_rvh_sched_info_arrive, on_arrive, android_rvh_probe_register},
	{&__tracepoint_android_rvh_irqtime_account_hardirq, on_hardirq, android_rvh_probe_register},
	{&__tracepoint_android_vh_task_d_state_dura_record, on_time, tracepoint_probe_register},
	{&__tracepoint_android_vh_sched_stat_blocked, on_time, tracepoint_probe_register},
	{&__tracepoint_sched_stat_wait, on_time, tracepoint_probe_register},
	{&__tracepoint_sched_stat_blocked, on_time, tracepoint_probe_register},
	{&__tracepoint_android_vh_blk_bio_submit_record_task, on_bio, tracepoint_probe_register},
	{&__tracepoint_android_vh_blk_bio_clone_flag, on_clone, tracepoint_probe_register},
	{&__tracepoint_android_vh_blk_bio_endio_record_bi_issue, on_bio, tracepoint_probe_register},
	{&__tracepoint_android_vh_task_rchar, on_transfer, tracepoint_probe_register},
	{&__tracepoint_android_vh_task_wchar, on_transfer, tracepoint_probe_register},
	{&__tracepoint_android_vh_usb_zem_set, on_usb, tracepoint_probe_register},
};

static int __init empty_init(void)
{
	int error = attach_probes(probes, ARRAY_SIZE(probes));

	if (error)
		return error;
	register_load_stat_proc_runtime(on_load);
	return 0;
}
module_init(empty_init);

MODULE_DESCRIPTION("Handlers that do nothing, to measure what the hooks cost");
MODULE_LICENSE("GPL");
