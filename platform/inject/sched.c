// SPDX-License-Identifier: GPL-2.0
/* Raises the hooks of the scheduler and of interrupts. */
#include "contract/hooks.h"
#include "contract/stat_hooks.h"
#include "contract/svp.h"
#include "injection.h"

static void raise_depart(const struct injection *injection)
{
	trace_android_vh_sched_info_depart(injection->task, injection->numbers[0]);
}

static void raise_set_svp(const struct injection *injection)
{
	svp_announce(injection->task);
}

static void raise_dequeued(const struct injection *injection)
{
	trace_android_rvh_sched_info_dequeued(injection->task, injection->numbers[0]);
}

static void raise_arrive(const struct injection *injection)
{
	trace_android_rvh_sched_info_arrive(injection->task, 0, injection->numbers[0]);
}

static void raise_hardirq(const struct injection *injection)
{
	trace_android_rvh_irqtime_account_hardirq(injection->numbers[0]);
}

static void raise_d_state(const struct injection *injection)
{
	trace_android_vh_task_d_state_dura_record(injection->task, injection->numbers[0]);
}

static void raise_vh_blocked(const struct injection *injection)
{
	trace_android_vh_sched_stat_blocked(injection->task, injection->numbers[0]);
}

static void raise_wait(const struct injection *injection)
{
	trace_sched_stat_wait(injection->task, injection->numbers[0]);
}

static void raise_blocked(const struct injection *injection)
{
	trace_sched_stat_blocked(injection->task, injection->numbers[0]);
}

const struct hook sched_hooks[] = {
	{"vh_sched_info_depart", "pn", raise_depart},
	{"vh_rs_warn_set_svp_task", "p", raise_set_svp},
	{"rvh_sched_info_dequeued", "pn", raise_dequeued},
	{"rvh_sched_info_arrive", "pn", raise_arrive},
	{"rvh_irqtime_account_hardirq", "n", raise_hardirq},
	{"vh_task_d_state_dura_record", "pn", raise_d_state},
	{"vh_sched_stat_blocked", "pn", raise_vh_blocked},
	{"sched_stat_wait", "pn", raise_wait},
	{"sched_stat_blocked", "pn", raise_blocked},
	{},
};
