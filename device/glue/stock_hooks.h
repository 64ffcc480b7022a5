/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Raises hooks on a stock kernel. A device's kernel raises its own, and these functions do nothing
 * there. zem's contract lists each hook and the context in which it is raised.
 */
#ifndef _ZEM_GLUE_STOCK_HOOKS_H
#define _ZEM_GLUE_STOCK_HOOKS_H

#include <linux/sched.h>
#include <linux/sched/clock.h>
#include <linux/tracepoint.h>

#include "contract.h"

struct module;

#ifdef CONFIG_ANDROID_VENDOR_HOOKS

static inline void stock_module_comes(struct module *module)
{
}

static inline void stock_module_is_gone(const struct module *module)
{
}

static inline void stock_task_is_important(struct task_struct *task)
{
}

static inline void stock_task_runs(struct task_struct *task)
{
}

static inline void stock_task_has_run(struct task_struct *task, u64 ns)
{
}

static inline void stock_interrupt(u64 ns)
{
}

#else

#ifndef CONFIG_SCHED_INFO
#error "this glue needs a kernel with CONFIG_SCHED_INFO, as CONFIG_SCHEDSTATS selects it"
#endif

/* Since 6.16 DECLARE_TRACE() appends _tp to the name. */
#ifdef DECLARE_TRACE_EVENT
#define DECLARE_HOOK_TRACE DECLARE_TRACE_EVENT
#else
#define DECLARE_HOOK_TRACE DECLARE_TRACE
#endif

#define DECLARE_HOOK(name, attach, parameters, arguments) \
	DECLARE_HOOK_TRACE(name, TP_PROTO parameters, TP_ARGS arguments);
PLATFORM_VENDOR_HOOKS(DECLARE_HOOK)

/*
 * A module that may attach restricted probes comes, or is gone. Once it has attached one, it stays
 * loaded. May sleep.
 */
void stock_module_comes(struct module *module);
void stock_module_is_gone(const struct module *module);

static inline void stock_task_is_important(struct task_struct *task)
{
	trace_android_vh_rs_warn_set_svp_task(task);
}

/* The task has waited for this CPU since it was queued. */
static inline void stock_task_runs(struct task_struct *task)
{
	u64 queued = task->sched_info.last_queued;
	u64 now = local_clock();

	trace_android_rvh_sched_info_arrive(task, 0, queued && now > queued ? now - queued : 0);
}

static inline void stock_task_has_run(struct task_struct *task, u64 ns)
{
	trace_android_vh_sched_info_depart(task, ns);
}

static inline void stock_interrupt(u64 ns)
{
	trace_android_rvh_irqtime_account_hardirq(ns);
}

#endif /* CONFIG_ANDROID_VENDOR_HOOKS */

#endif /* _ZEM_GLUE_STOCK_HOOKS_H */
