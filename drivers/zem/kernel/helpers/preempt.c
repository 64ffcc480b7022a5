// SPDX-License-Identifier: GPL-2.0
/* The macros of <linux/preempt.h>. */
#include <linux/preempt.h>

#include "../api/preempt.h"

void helper_preempt_disable(void)
{
	preempt_disable();
}

void helper_preempt_enable(void)
{
	preempt_enable();
}
