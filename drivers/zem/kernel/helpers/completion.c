// SPDX-License-Identifier: GPL-2.0
/* The inline functions of <linux/completion.h>. */
#include <linux/completion.h>
#include <linux/irqflags.h>
#include <linux/preempt.h>
#include <linux/sched.h>

#include "../api/completion.h"

bool helper_may_complete(void)
{
	return !irqs_disabled() && !in_nmi();
}

void helper_init_completion(struct completion *x)
{
	init_completion(x);
}

void helper_reinit_completion(struct completion *x)
{
	reinit_completion(x);
}

void helper_wait_for_completion_idle(struct completion *x)
{
	wait_for_completion_state(x, TASK_IDLE);
}
