// SPDX-License-Identifier: GPL-2.0
/*
 * Defines the vendor hooks, and lets go of a module that leaves its probes on them: a device's
 * restricted hooks have no way to unregister, and zem leaves some others attached too.
 */
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/rcupdate.h>

#include "contract.h"
#include "hooks.h"
#include "stat_hooks.h"
#include "svp.h"

#define DEFINE_HOOK_FN(name, attached, detached, proto, args)                   \
	DEFINE_TRACE_FN(name, attached, detached, PARAMS(proto), PARAMS(args)); \
	EXPORT_SYMBOL_GPL(__tracepoint_##name)
#define DEFINE_HOOK(name, proto, args) DEFINE_HOOK_FN(name, NULL, NULL, PARAMS(proto), PARAMS(args))

DEFINE_HOOK(android_vh_sched_info_depart, TP_PROTO(struct task_struct *task, u64 runtime),
	    TP_ARGS(task, runtime));
DEFINE_HOOK_FN(android_vh_rs_warn_set_svp_task, svp_listener_attached, svp_listener_detached,
	       TP_PROTO(struct task_struct *task), TP_ARGS(task));
DEFINE_HOOK(android_rvh_sched_info_dequeued, TP_PROTO(struct task_struct *task, u64 delay),
	    TP_ARGS(task, delay));
DEFINE_HOOK(android_rvh_sched_info_arrive,
	    TP_PROTO(struct task_struct *task, u64 ignored, u64 delay),
	    TP_ARGS(task, ignored, delay));
DEFINE_HOOK(android_rvh_irqtime_account_hardirq, TP_PROTO(u64 delta), TP_ARGS(delta));
DEFINE_HOOK(android_vh_task_d_state_dura_record, TP_PROTO(struct task_struct *task, u64 duration),
	    TP_ARGS(task, duration));
DEFINE_HOOK(android_vh_sched_stat_blocked, TP_PROTO(struct task_struct *task, u64 delay),
	    TP_ARGS(task, delay));
DEFINE_HOOK(sched_stat_wait, TP_PROTO(struct task_struct *task, u64 delay), TP_ARGS(task, delay));
DEFINE_HOOK(sched_stat_blocked, TP_PROTO(struct task_struct *task, u64 delay),
	    TP_ARGS(task, delay));
DEFINE_HOOK(android_vh_blk_bio_submit_record_task, TP_PROTO(struct bio *bio), TP_ARGS(bio));
DEFINE_HOOK(android_vh_blk_bio_clone_flag, TP_PROTO(struct bio *clone, struct bio *source),
	    TP_ARGS(clone, source));
DEFINE_HOOK(android_vh_blk_bio_endio_record_bi_issue, TP_PROTO(struct bio *bio), TP_ARGS(bio));
DEFINE_HOOK(android_vh_task_rchar,
	    TP_PROTO(struct kiocb *kiocb, struct task_struct *task, s64 bytes),
	    TP_ARGS(kiocb, task, bytes));
DEFINE_HOOK(android_vh_task_wchar,
	    TP_PROTO(struct kiocb *kiocb, struct task_struct *task, s64 bytes),
	    TP_ARGS(kiocb, task, bytes));
DEFINE_HOOK(android_vh_usb_zem_set, TP_PROTO(void *pointer, int type), TP_ARGS(pointer, type));

static struct tracepoint *const hooks[] = {
	&__tracepoint_android_vh_sched_info_depart,
	&__tracepoint_android_vh_rs_warn_set_svp_task,
	&__tracepoint_android_rvh_sched_info_dequeued,
	&__tracepoint_android_rvh_sched_info_arrive,
	&__tracepoint_android_rvh_irqtime_account_hardirq,
	&__tracepoint_android_vh_task_d_state_dura_record,
	&__tracepoint_android_vh_sched_stat_blocked,
	&__tracepoint_sched_stat_wait,
	&__tracepoint_sched_stat_blocked,
	&__tracepoint_android_vh_blk_bio_submit_record_task,
	&__tracepoint_android_vh_blk_bio_clone_flag,
	&__tracepoint_android_vh_blk_bio_endio_record_bi_issue,
	&__tracepoint_android_vh_task_rchar,
	&__tracepoint_android_vh_task_wchar,
	&__tracepoint_android_vh_usb_zem_set,
};

/* Makes looking for a probe and adding one a single step. */
static DEFINE_MUTEX(restricted_lock);

int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data)
{
	int error = -EBUSY;

	mutex_lock(&restricted_lock);
	if (!rcu_access_pointer(hook->funcs))
		error = tracepoint_probe_register(hook, probe, data);
	mutex_unlock(&restricted_lock);
	return error;
}
EXPORT_SYMBOL_GPL(android_rvh_probe_register);

/* Return: a probe of the hook that is the module's code, with .func NULL for none. */
static struct tracepoint_func find_probe(struct tracepoint *hook, const struct module *module)
{
	struct tracepoint_func found = {};
	struct tracepoint_func *probe;

	rcu_read_lock();
	for (probe = rcu_dereference(hook->funcs); probe && probe->func; probe++) {
		if (within_module((unsigned long)probe->func, module)) {
			found = *probe;
			break;
		}
	}
	rcu_read_unlock();
	return found;
}

void hooks_release(const struct module *module)
{
	bool released = false;

	for (size_t i = 0; i < ARRAY_SIZE(hooks); i++) {
		struct tracepoint_func probe;

		while ((probe = find_probe(hooks[i], module)).func) {
			int error = tracepoint_probe_unregister(hooks[i], probe.func, probe.data);

			if (error) {
				pr_err("%s stays on %s: error %d\n", module->name, hooks[i]->name,
				       error);
				break;
			}
			released = true;
		}
	}
	if (released)
		tracepoint_synchronize_unregister();
}
